// SPDX-License-Identifier: Apache-2.0
#include "ui/SystemLook.h"

#include "common/Registry.h"

#include <QAbstractNativeEventFilter>
#include <QApplication>
#include <QEvent>
#include <QLibrary>
#include <QTimer>
#include <QWidget>

#include <windows.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr DWORD DarkTitleBar = 20; // DWMWA_USE_IMMERSIVE_DARK_MODE

bool PrefersDark()
{
    Registry::StoredValue light;
    const QString key = u"Software\\Microsoft\\Windows\\CurrentVersion\\Themes\\Personalize"_s;
    return Registry::QueryStored(Registry::CurrentUser, key, u"AppsUseLightTheme"_s, light) == ERROR_SUCCESS
        && light.Type == Registry::Number && light.Bytes == QByteArray(sizeof(DWORD), '\0');
}

bool HasHighContrast()
{
    HIGHCONTRASTW state = {};
    state.cbSize = sizeof state;
    return SystemParametersInfoW(SPI_GETHIGHCONTRAST, sizeof state, &state, 0) != 0
        && (state.dwFlags & HCF_HIGHCONTRASTON) != 0;
}

QColor SystemColor(int number)
{
    const COLORREF color = GetSysColor(number);
    return QColor(GetRValue(color), GetGValue(color), GetBValue(color));
}

QPalette HighContrastPalette()
{
    const std::pair<QPalette::ColorRole, int> roles[] = {
        { QPalette::Window, COLOR_WINDOW },
        { QPalette::WindowText, COLOR_WINDOWTEXT },
        { QPalette::Base, COLOR_WINDOW },
        { QPalette::AlternateBase, COLOR_WINDOW },
        { QPalette::Text, COLOR_WINDOWTEXT },
        { QPalette::PlaceholderText, COLOR_GRAYTEXT },
        { QPalette::Button, COLOR_BTNFACE },
        { QPalette::ButtonText, COLOR_BTNTEXT },
        { QPalette::BrightText, COLOR_WINDOWTEXT },
        { QPalette::ToolTipBase, COLOR_WINDOW },
        { QPalette::ToolTipText, COLOR_WINDOWTEXT },
        { QPalette::Highlight, COLOR_HIGHLIGHT },
        { QPalette::HighlightedText, COLOR_HIGHLIGHTTEXT },
        { QPalette::Link, COLOR_HOTLIGHT },
        { QPalette::Mid, COLOR_WINDOWTEXT },
    };
    QPalette palette(SystemColor(COLOR_BTNFACE), SystemColor(COLOR_WINDOW));
    for (const auto &[role, number] : roles)
        palette.setColor(role, SystemColor(number));
    for (const QPalette::ColorRole role : { QPalette::WindowText, QPalette::Text, QPalette::ButtonText })
        palette.setColor(QPalette::Disabled, role, SystemColor(COLOR_GRAYTEXT));
    return palette;
}

class Watcher : public QObject, public QAbstractNativeEventFilter {
public:
    Watcher(QApplication &application, SystemLook::Receiver receiver)
        : QObject(&application)
        , m_receiver(std::move(receiver))
        , m_setAttribute(reinterpret_cast<SetAttribute>(QLibrary::resolve(u"dwmapi"_s, "DwmSetWindowAttribute")))
    {
        application.installNativeEventFilter(this);
        application.installEventFilter(this);
        // Every window gets the message; the settings are read once for all of them.
        m_later.setSingleShot(true);
        m_later.setInterval(0);
        m_later.callOnTimeout(this, &Watcher::Look);
    }

    void Look()
    {
        SystemLook look{ PrefersDark(), HasHighContrast() };
        if (look.IsHighContrast)
            look.HighContrast = HighContrastPalette();
        m_hasDarkFrames = look.IsDark && !look.IsHighContrast;
        for (const QWidget *window : QApplication::topLevelWidgets()) {
            if (window->isVisible())
                DarkenFrame(*window);
        }
        m_receiver(look);
    }

    bool nativeEventFilter(const QByteArray &, void *message, qintptr *) override
    {
        switch (static_cast<const MSG *>(message)->message) {
        case WM_SETTINGCHANGE:
        case WM_SYSCOLORCHANGE:
        case WM_THEMECHANGED: m_later.start(); break;
        default: break;
        }
        return false;
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Show && watched->isWidgetType()) {
            if (const auto *window = static_cast<QWidget *>(watched); window->isWindow())
                DarkenFrame(*window);
        }
        return false;
    }

private:
    using SetAttribute = HRESULT(WINAPI *)(HWND, DWORD, LPCVOID, DWORD);

    // A system that does not know the attribute leaves the frame as it is.
    void DarkenFrame(const QWidget &window) const
    {
        const BOOL isDark = m_hasDarkFrames ? TRUE : FALSE;
        if (m_setAttribute)
            m_setAttribute(reinterpret_cast<HWND>(window.winId()), DarkTitleBar, &isDark, sizeof isDark);
    }

    SystemLook::Receiver m_receiver;
    SetAttribute m_setAttribute;
    QTimer m_later;
    bool m_hasDarkFrames = false;
};

}

void SystemLook::Watch(QApplication &application, Receiver receiver)
{
    (new Watcher(application, std::move(receiver)))->Look();
}
