// SPDX-License-Identifier: Apache-2.0
#include "shell/view/frmMain.h"

#include "common/Common.h"
#include "model/Globals.h"
#include "model/IO.h"
#include "shell/view/CatalogueModel.h"
#include "shell/view/LogoView.h"
#include "ui/Accessible.h"
#include "ui/Busy.h"
#include "ui/Guard.h"
#include "ui/Layout.h"
#include "ui/LinkLabel.h"
#include "ui/Messages.h"
#include "ui/RowLayout.h"
#include "ui/Theme.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QStyledItemDelegate>
#include <QTreeView>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QSize Least(280, 200);
constexpr int LogoWidth = 270;
constexpr int SmallLogoWidth = 150;
constexpr int SmallHeight = 360; // of a window with a small logo
constexpr int BesideText = 110; // at the most, beside a text in the list
constexpr int AroundText = 30; // above and below it
const QString ProductsPage = u"https://www.practorium.example/Products.asp"_s;

// Rows with room to read and to click.
class RoomyRows : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        return QStyledItemDelegate::sizeHint(option, index) + QSize(0, 10);
    }
};

LinkLabel *NewLink(const QString &name, const QString &caption, QWidget *parent)
{
    auto *link = new LinkLabel(parent);
    link->setObjectName(name);
    link->InitProperties();
    link->SetCaption(caption);
    link->SetForeColor(OleColors::HotLight);
    return link;
}

// What a new user has to know while the list is empty.
QString HowExamsComeIn()
{
    QString folder = Globals::ExamsFolder();
    // A long path breaks into lines there.
    folder.replace(IO::Separator, QString(IO::Separator) + u'\u200B');
    return u"No exam is installed yet.\n\nDownload Exams below fetches what you have bought. A pack that you were "
           "given installs its exam when you open it. The folder of an exam can also be copied into\n%1"_s.arg(folder);
}

}

frmMain::frmMain()
{
    SetAccessibleRole(this, QAccessible::Window);
    setObjectName(u"frmMain"_s);
    setWindowTitle(ApplicationTitle);
    FitWorkArea(this, QSize(760, 500), Least);
}

void frmMain::Build()
{
    m_catalogue = new CatalogueModel(this);
    lvwExams = new QTreeView(this);
    lblStatus = new QLabel(this);
    lblDownload = NewLink(u"lblDownload"_s, u"Download Exams"_s, this);
    lblAbout = NewLink(u"lblAbout"_s, u"About"_s, this);
    lblProductLink = NewLink(u"lblProductLink"_s, u"More exam packs on the web"_s, this);
    cmdStart = new QPushButton(u"&Start Exam"_s, this);
    cmdExit = new QPushButton(u"E&xit"_s, this);
    lvwExams->setObjectName(u"lvwExams"_s);
    lvwExams->setAccessibleName(u"Installed exams"_s);
    lvwExams->setModel(m_catalogue);
    lvwExams->setItemDelegate(new RoomyRows(this));
    lvwExams->setRootIsDecorated(false);
    lvwExams->setUniformRowHeights(true);
    lvwExams->setAllColumnsShowFocus(true);
    lvwExams->setAlternatingRowColors(true);
    lvwExams->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    lvwExams->header()->setStretchLastSection(false);
    lvwExams->header()->setSectionsMovable(false);
    lvwExams->header()->setMinimumHeight(lvwExams->header()->sizeHint().height() + 8);
    lvwExams->installEventFilter(this);
    lvwExams->viewport()->installEventFilter(this);
    lblNoExams = new QLabel(HowExamsComeIn(), lvwExams->viewport());
    lblNoExams->setObjectName(u"lblNoExams"_s);
    lblNoExams->setTextFormat(Qt::PlainText);
    lblNoExams->setAlignment(Qt::AlignCenter);
    lblNoExams->setWordWrap(true);
    // A double click is the list's.
    lblNoExams->setAttribute(Qt::WA_TransparentForMouseEvents);
    auto *inList = new QVBoxLayout(lvwExams->viewport());
    inList->setContentsMargins(24, 12, 24, 12);
    inList->addWidget(lblNoExams);
    lblStatus->setObjectName(u"lblStatus"_s);
    lblStatus->setTextFormat(Qt::PlainText);
    lblProductLink->SetHRef(ProductsPage);
    cmdStart->setObjectName(u"cmdStart"_s);
    cmdExit->setObjectName(u"cmdExit"_s);
    for (QPushButton *button : { cmdStart, cmdExit })
        button->setMinimumSize(120, button->sizeHint().height() + 6);

    picLogo = new LogoView(LogoWidth, this);
    auto *head = new QHBoxLayout;
    head->addWidget(picLogo);
    head->addStretch();
    auto *status = new RowLayout(0);
    status->addWidget(lblStatus);
    status->addWidget(lblDownload);
    status->addWidget(new QLabel(u"  |  "_s, this));
    status->addWidget(lblAbout);
    status->AddStretch();
    status->addWidget(lblProductLink);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdStart);
    buttons->addWidget(cmdExit);
    m_page = NewPage(this);
    auto *layout = new QVBoxLayout(m_page);
    layout->setContentsMargins(18, 18, 18, 16);
    layout->setSpacing(12);
    layout->addLayout(head);
    layout->addWidget(lvwExams, 1);
    layout->addLayout(status);
    layout->addLayout(buttons);
    FitPage();
    QWidget *order[] = { lvwExams, lblDownload, lblAbout, lblProductLink, cmdStart, cmdExit };
    for (size_t i = 1; i < std::size(order); ++i)
        setTabOrder(order[i - 1], order[i]);

    connect(cmdStart, &QPushButton::clicked, this, [this] { Guard([&] { cmdStart_Click(); }); });
    connect(cmdExit, &QPushButton::clicked, this, &QWidget::close);
    connect(lblDownload, &LinkLabel::Click, this, [this] {
        Guard([&] {
            Q_EMIT DownloadRequested();
            RefreshExamList();
        });
    });
    connect(lblAbout, &LinkLabel::Click, this, &frmMain::AboutRequested);
}

void frmMain::Load()
{
    if (!m_catalogue)
        Build();
    SizeColumns(lvwExams);
    RefreshExamList();
}

void frmMain::RefreshExamList()
{
    bool isFilled = false;
    try {
        m_catalogue->Refresh();
        lblNoExams->setVisible(m_catalogue->rowCount() == 0);
        FitPage();
        lvwExams->setAccessibleDescription(m_catalogue->rowCount() == 0 ? lblNoExams->text() : QString());
        lblStatus->setText(Common::FormatText(u"{1} Exams Installed  |  "_s, { m_catalogue->rowCount() }));
        lvwExams->selectionModel()->setCurrentIndex(m_catalogue->index(0, 0), QItemSelectionModel::NoUpdate);
        isFilled = true;
    } catch (const std::exception &) {
        // Reported below, over the window.
    }
    // A hidden list does not take the focus.
    ShowPage(m_page);
    if (isFilled)
        lvwExams->setFocus();
    else
        ShowMessage(u"The operation failed because of an unexpected internal error."_s, CriticalMessage);
}

void frmMain::cmdStart_Click()
{
    if (m_catalogue->rowCount() == 0) {
        ShowMessage(u"No exams are available. Please install your exam pack(s)."_s, ExclamationMessage);
        return;
    }
    const QModelIndexList selected = lvwExams->selectionModel()->selectedRows();
    if (selected.isEmpty()) {
        ShowMessage(u"Please select an exam to start"_s, ExclamationMessage);
        return;
    }
    const QString path = m_catalogue->Path(selected.first().row());
    {
        const BusyScope busy;
        Globals::CurrentExam = std::make_shared<Exam>();
        Globals::CurrentExam->Load(path);
    }
    Q_EMIT ExamLoaded();
}

void frmMain::closeEvent(QCloseEvent *event)
{
    event->ignore();
    if (m_isAskingToExit)
        return;
    Guard([&] {
        const QScopedValueRollback asking(m_isAskingToExit, true);
        if (ShowMessage(u"Are you sure you want to exit Practorium?"_s, QuestionMessage) == AnswerNo)
            return;
        hide();
        QCoreApplication::processEvents();
        QCoreApplication::exit(0);
    });
}

void frmMain::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    FitPage();
}

void frmMain::FitPage()
{
    // Before Load there is no page.
    if (!lblNoExams)
        return;
    picLogo->SetWidth(height() < SmallHeight ? SmallLogoWidth : LogoWidth);
    ShrinkList(lvwExams);
    if (!lblNoExams->isHidden()) {
        const int needed = lblNoExams->heightForWidth(width() - BesideText) + AroundText + lvwExams->header()->height();
        lvwExams->setMinimumHeight(std::max(lvwExams->minimumHeight(), needed));
    }
}

bool frmMain::TakesListKey(const QKeyEvent &event)
{
    QItemSelectionModel *selection = lvwExams->selectionModel();
    if (selection->hasSelection() || m_catalogue->rowCount() == 0)
        return false;
    switch (event.key()) {
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
    case Qt::Key_Home:
    case Qt::Key_End: {
        // The list itself would go on to the row behind the current one, so
        // that no key selects the only row.
        const QModelIndex current = lvwExams->currentIndex();
        lvwExams->setCurrentIndex(current.isValid() ? current : m_catalogue->index(0, 0));
        return true;
    }
    default:
        // A search for typed letters goes on behind the current row, too.
        if (!event.text().isEmpty() && event.text().front().isLetterOrNumber())
            selection->clearCurrentIndex();
        return false;
    }
}

bool frmMain::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == lvwExams && event->type() == QEvent::KeyPress)
        return TakesListKey(*static_cast<QKeyEvent *>(event));
    // The list changes its inner size with the window and with its scroll bar.
    if (event->type() == QEvent::Resize)
        SizeColumns(lvwExams);
    // Anywhere in the list, which may be empty.
    if (event->type() == QEvent::MouseButtonDblClick && static_cast<QMouseEvent *>(event)->button() == Qt::LeftButton) {
        cmdStart->click();
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void frmMain::keyPressEvent(QKeyEvent *event)
{
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isEnter && focusWidget() == cmdExit)
        cmdExit->click();
    else if (isEnter)
        cmdStart->click();
    else
        QWidget::keyPressEvent(event);
}
