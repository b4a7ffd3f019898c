// SPDX-License-Identifier: Apache-2.0
#include "download/view/ProgressPanel.h"

#include <QAccessibleWidget>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

class ProgressInterface : public QAccessibleWidget, public QAccessibleValueInterface {
public:
    explicit ProgressInterface(ProgressPanel *panel)
        : QAccessibleWidget(panel, QAccessible::ProgressBar)
        , m_panel(panel)
    {
    }

    static QAccessibleInterface *New(const QString &className, QObject *object)
    {
        return className == "ProgressPanel"_L1 ? new ProgressInterface(static_cast<ProgressPanel *>(object)) : nullptr;
    }
    void *interface_cast(QAccessible::InterfaceType type) override
    {
        if (type == QAccessible::ValueInterface)
            return static_cast<QAccessibleValueInterface *>(this);
        return QAccessibleWidget::interface_cast(type);
    }
    QString text(QAccessible::Text what) const override
    {
        return what == QAccessible::Value ? QString::number(m_panel->Percent()) + u'%' : QAccessibleWidget::text(what);
    }
    // What fills the area is no control of its own.
    int childCount() const override { return 0; }

    QVariant currentValue() const override { return m_panel->Percent(); }
    void setCurrentValue(const QVariant &) override { }
    QVariant minimumValue() const override { return 0; }
    QVariant maximumValue() const override { return 100; }
    QVariant minimumStepSize() const override { return 1; }

private:
    ProgressPanel *m_panel;
};

}

ProgressPanel::ProgressPanel(QWidget *parent)
    : Panel(parent)
{
    static const bool installed = (QAccessible::installFactory(ProgressInterface::New), true);
    Q_UNUSED(installed);
}

void ProgressPanel::SetPercent(int percent)
{
    if (std::exchange(m_percent, percent) == percent)
        return;
    QAccessibleValueChangeEvent changed(this, percent);
    QAccessible::updateAccessibility(&changed);
}
