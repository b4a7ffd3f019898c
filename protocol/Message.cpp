// SPDX-License-Identifier: Apache-2.0
#include "protocol/Message.h"

#include "common/Error.h"

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

struct Escaped {
    QChar Character;
    QLatin1StringView Code;
};

// The percent sign comes first when escaping and last when unescaping, so that
// no code is taken for one that the other characters made.
constexpr std::array Escapes = {
    Escaped{ u'%', "%25"_L1 }, Escaped{ u'?', "%3F"_L1 }, Escaped{ u'=', "%3D"_L1 },
    Escaped{ u'&', "%26"_L1 }, Escaped{ u';', "%3B"_L1 },
};

QString Escape(QString value)
{
    for (const Escaped &escape : Escapes)
        value.replace(escape.Character, escape.Code);
    return value;
}

// Each character by itself, as the comparison of two names does it: full folding
// would make one key of names that differ in more than letter case.
QString Key(QString name)
{
    for (QChar &character : name)
        character = character.toCaseFolded();
    return name;
}

QString Unescape(QString value)
{
    for (auto escape = Escapes.rbegin(); escape != Escapes.rend(); ++escape)
        value.replace(escape->Code, QString(escape->Character));
    return value;
}

}

qint32 Parameters::Find(const QString &name) const
{
    return m_positions.value(Key(name), -1);
}

Parameters::Pointer Parameters::Add(const QString &Name, const QString &Value)
{
    qint32 position = Find(Name);
    if (position < 0) {
        position = Count();
        m_entries.push_back(std::make_shared<Parameter>());
        m_positions.insert(Key(Name), position);
    }
    const Pointer &entry = m_entries[position];
    entry->SetName(Name);
    entry->Setvalue(Value);
    return entry;
}

void Parameters::Remove(const QString &Name)
{
    const qint32 position = Find(Name);
    if (position < 0)
        throw Error::RunTime(InvalidCall);
    RemoveAt(position + 1);
}

void Parameters::RemoveAt(qint32 Index)
{
    if (Index < 1 || Index > Count())
        throw Error::RunTime(SubscriptOutOfRange);
    m_entries.erase(m_entries.begin() + (Index - 1));
    m_positions.removeIf([&](const auto &entry) { return entry.value() == Index - 1; });
    for (qint32 &position : m_positions) {
        if (position >= Index)
            --position;
    }
}

qint32 Parameters::GetIndex(const QString &Name) const
{
    qint32 index = 1;
    for (const Pointer &entry : m_entries) {
        if (entry->Name().compare(Name, Qt::CaseInsensitive) == 0)
            break;
        ++index;
    }
    return index;
}

void Parameters::Clear()
{
    m_entries.clear();
    m_positions.clear();
}

const Parameters::Pointer &Parameters::Item(const QString &Name) const
{
    const qint32 position = Find(Name);
    if (position < 0)
        throw Error::RunTime(InvalidCall);
    return m_entries[position];
}

void MESSAGE::Pack()
{
    WithSource(u"Message::Pack()", [&] {
        if (m_command.isEmpty())
            throw Error(NoCommand, u"No command specified for the message"_s);
        QString text = m_command;
        QChar separator = u'?';
        for (const auto &parameter : m_parameters) {
            text += separator + parameter->Name() + u'=' + Escape(parameter->value());
            separator = u'&';
        }
        m_text = text + u';';
    });
}

void MESSAGE::UnPack(const QString &Text)
{
    WithSource(u"Message::UnPack()", [&] {
        m_text = Text;
        m_parameters.Clear();
        m_command.clear();
        const qsizetype end = m_text.indexOf(u';');
        const qsizetype question = m_text.indexOf(u'?');
        if (end < 0)
            throw Error(InvalidMessage, u"Invalid message"_s);
        if (question < 0) {
            m_command = m_text.left(end);
            return;
        }
        m_command = m_text.left(question);
        if (end < question)
            throw Error::RunTime(InvalidCall);
        const QStringView section = QStringView(m_text).mid(question + 1, end - question - 1);
        if (section.isEmpty())
            return;
        for (const QStringView piece : section.split(u'&')) {
            const QList<QStringView> parts = piece.split(u'=');
            if (parts.size() < 2)
                throw Error(BadParameters, u"Error decoding parameters"_s);
            m_parameters.Add(parts.at(0).toString(), Unescape(parts.at(1).toString()));
        }
    });
}
