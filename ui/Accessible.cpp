// SPDX-License-Identifier: Apache-2.0
#include "ui/Accessible.h"

#include <QAccessibleWidget>
#include <QTimer>
#include <QVariant>
#include <QWidget>

using namespace Qt::Literals::StringLiterals;

namespace {

// Long enough for a screen reader that is busy to ask for the text.
constexpr int Lifetime = 10'000; // milliseconds
constexpr char RoleName[] = "accessibleRole";

class RoleInterface : public QAccessibleWidget {
public:
    RoleInterface(QWidget *widget, QAccessible::Role role)
        : QAccessibleWidget(widget, role)
    {
    }

    // A notification is never shown to the eye, but must not count as hidden.
    QAccessible::State state() const override
    {
        return role() == QAccessible::Notification ? QAccessible::State() : QAccessibleWidget::state();
    }
    // A picture is one thing, whatever it is made of.
    int childCount() const override { return role() == QAccessible::Graphic ? 0 : QAccessibleWidget::childCount(); }
};

QAccessibleInterface *NewInterface(const QString &, QObject *object)
{
    const QVariant role = object->isWidgetType() ? object->property(RoleName) : QVariant();
    if (!role.isValid())
        return nullptr;
    return new RoleInterface(static_cast<QWidget *>(object), static_cast<QAccessible::Role>(role.toInt()));
}

}

void Announce(QWidget *source, const QString &text)
{
    if (text.isEmpty())
        return;
    auto *notice = new QWidget(source->window());
    // Otherwise a window that is shown later would show it as well.
    notice->hide();
    SetAccessibleRole(notice, QAccessible::Notification);
    notice->setAccessibleName(text);
    QAccessibleEvent shown(notice, QAccessible::ObjectShow);
    QAccessible::updateAccessibility(&shown);
    QTimer::singleShot(Lifetime, notice, &QObject::deleteLater);
}

void SetAccessibleRole(QWidget *widget, QAccessible::Role role)
{
    static const bool installed = (QAccessible::installFactory(NewInterface), true);
    Q_UNUSED(installed);
    widget->setProperty(RoleName, int(role));
}
