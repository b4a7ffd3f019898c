// SPDX-License-Identifier: Apache-2.0
#include "shell/ReviewList.h"

#include "common/Common.h"
#include "model/Globals.h"

using namespace Qt::Literals::StringLiterals;

namespace ReviewList {

namespace {

QString IconOf(const Question &question, qint16 answers)
{
    // A mark counts more than how complete the answer is.
    if (question.IsMarked())
        return u"Checked"_s;
    return answers < question.AnswerCount() ? u"Incomplete"_s : u"Complete"_s;
}

}

std::vector<Entry> Entries(const Exam &exam)
{
    std::vector<Entry> entries;
    entries.reserve(exam.Questions().Count());
    for (const auto &question : exam.Questions()) {
        const qint16 answers = Globals::ItemCount(question->Answer());
        QString text = QString::number(question->Number());
        if (answers > 0)
            text += u" - "_s + Globals::AnswerLetters(question->Answer());
        entries.push_back({ question->Number(), text, IconOf(*question, answers) });
    }
    return entries;
}

bool HasMarked(const Exam &exam)
{
    return std::any_of(exam.Questions().begin(), exam.Questions().end(),
                       [](const auto &question) { return question->IsMarked(); });
}

QString Limited(const QString &text, qint32 Count)
{
    if (Common::IsBlank(text))
        return text;
    const double value = Common::LeadingNumber(text);
    if (value > Count)
        return QString::number(Count);
    return value == 0 ? u"1"_s : text;
}

qint16 NumberIn(const QString &text)
{
    return Common::ToInt16(Common::LeadingNumber(text));
}

}
