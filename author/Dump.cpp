// SPDX-License-Identifier: Apache-2.0
#include "author/Dump.h"

#include "model/Exam.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace Dump {

namespace {

// Writes JSON with the keys in the order in which they are put.
class Writer {
public:
    QByteArray Bytes;

    void Begin(char bracket)
    {
        Separate();
        Bytes += bracket;
        m_isFirst = true;
    }

    void End(char bracket)
    {
        Bytes += bracket;
        m_isFirst = false;
    }

    void Put(const QJsonValue &value)
    {
        Separate();
        // A document is an array or an object: one value is what stands between
        // the brackets.
        const QByteArray array = QJsonDocument(QJsonArray{ value }).toJson(QJsonDocument::Compact);
        Bytes += QByteArrayView(array).sliced(1, array.size() - 2);
    }

    Writer &Key(const char *name)
    {
        Separate();
        Bytes.append('"').append(name).append("\":");
        m_isFirst = true;
        return *this;
    }

    void NewLine() { m_wantsLine = true; }

private:
    void Separate()
    {
        if (!m_isFirst)
            Bytes += ',';
        if (m_wantsLine)
            Bytes += '\n';
        m_isFirst = m_wantsLine = false;
    }

    bool m_isFirst = true;
    bool m_wantsLine = false;
};

void Put(Writer &json, const Choice &choice)
{
    json.Begin('{');
    json.Key("number").Put(choice.Number());
    json.Key("isSolution").Put(choice.IsSolution());
    json.Key("statement").Put(choice.Statement());
    json.End('}');
}

void Put(Writer &json, const Question &question)
{
    json.NewLine();
    json.Begin('{');
    json.Key("number").Put(question.Number());
    json.Key("solutionCount").Put(question.SolutionCount());
    json.Key("hasHint").Put(question.HasHint());
    json.Key("exhibit").Put(question.Exhibit());
    json.Key("problem").Put(question.Problem());
    json.Key("explanation").Put(question.StoredExplaination());
    json.Key("choices").Begin('[');
    for (const auto &choice : question.Choices())
        Put(json, *choice);
    json.End(']');
    json.End('}');
}

}

QByteArray ToJson(const Exam &exam)
{
    Writer json;
    json.Begin('{');
    json.Key("reserved").Put(QString::fromLatin1(exam.Reserved().toHex()));
    json.Key("code").Put(exam.Code());
    json.Key("name").Put(exam.Name());
    json.Key("maxScore").Put(exam.MaxScore());
    json.Key("passScore").Put(exam.PassScore());
    json.Key("duration").Put(exam.Duration());
    json.Key("questions").Begin('[');
    for (const auto &question : exam.Questions())
        Put(json, *question);
    json.End(']');
    json.End('}');
    return json.Bytes;
}

}
