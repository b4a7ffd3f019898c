// SPDX-License-Identifier: Apache-2.0
#include "author/Dump.h"

#include "model/Exam.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace Dump {

namespace {

// Writes JSON and keeps the order of the keys.
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
        // QJsonDocument writes arrays and objects only: one value is an array
        // without its brackets.
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

    void NewLine() { m_breaksLine = true; }

private:
    void Separate()
    {
        if (!m_isFirst)
            Bytes += ',';
        if (m_breaksLine)
            Bytes += '\n';
        m_isFirst = m_breaksLine = false;
    }

    bool m_isFirst = true;
    bool m_breaksLine = false;
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
    json.Key("codePage").Put(exam.CodePage() == 0 ? QJsonValue() : exam.CodePage());
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
