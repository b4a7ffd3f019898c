// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Ansi.h"

#include <QByteArray>
#include <QString>

#include <utility>
#include <variant>

// A text of an item. One that comes from a file keeps the bytes that it has there,
// half of what a QString takes, and becomes one each time it is asked for: of an
// exam few texts are ever shown.
class StoredText {
public:
    QString Text() const
    {
        const auto *encoded = std::get_if<Encoded>(&m_value);
        return encoded ? encoded->Page->ToText(encoded->Bytes) : *std::get_if<QString>(&m_value);
    }
    void Set(const QString &text) { m_value = text; }
    // The page is not owned.
    void Set(QByteArray bytes, const Ansi::CodePage &page) { m_value = Encoded{ std::move(bytes), &page }; }

private:
    struct Encoded {
        QByteArray Bytes;
        const Ansi::CodePage *Page;
    };
    std::variant<QString, Encoded> m_value;
};
