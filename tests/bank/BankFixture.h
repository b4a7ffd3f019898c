// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Formats.h"
#include "common/Error.h"
#include "tests/support/Rows.h"

// What a reader makes of a source, one line for each item and warning: the passage
// in brackets, the stem, the options with "*" before each right one, the general
// feedback behind "#", "multiple", "unlimited", exhibit, category, warnings.
// Feedback of an option stands in "()" behind it. Instead of it all, the error.
inline QString Shown(const Bank::Source &source, const QString &format, const Bank::Options &options = {})
{
    struct Lines : Bank::Receiver {
        QStringList All;

        void Add(Bank::Item &&item) override
        {
            const QString place = (item.Entry.isEmpty() ? QString() : item.Entry + u':') + QString::number(item.Line);
            if (!item.Refusal.isEmpty()) {
                All += place + u": "_s + item.Refusal;
                return;
            }
            QStringList parts;
            if (!item.Passage.Source.isEmpty())
                parts += u'[' + item.Passage.Source + u']';
            parts += item.Problem.Source;
            for (const Bank::Option &option : item.Options)
                parts += (option.IsRight ? u"*"_s : QString()) + option.Statement.Source + (option.IsFixed ? u"!"_s : QString())
                    + (option.Feedback.Source.isEmpty() ? QString() : u'(' + option.Feedback.Source + u')');
            if (!item.Feedback.Source.isEmpty())
                parts += u'#' + item.Feedback.Source;
            parts += item.IsMultiple ? u"multiple"_s : QString();
            parts += item.IsUnlimited ? u"unlimited"_s : QString();
            parts += item.Exhibit ? u"exhibit "_s + *item.Exhibit : QString();
            parts += item.Category.isEmpty() ? QString() : u"in "_s + item.Category;
            parts += item.Warnings;
            parts.removeAll(QString());
            All += parts.join(u" | "_s);
        }
        void SetName(const QString &name) override { All += u"name: "_s + name; }
        void Warn(int line, const QString &text) override { All += u"%1! %2"_s.arg(line).arg(text); }
    } lines;
    try {
        Bank::FormatOf(format)->Read(source, options, lines);
    } catch (const Error &error) {
        EXPECT_EQ(error.Number(), InvalidCall);
        return error.Description();
    }
    return lines.All.join(u'\n');
}
