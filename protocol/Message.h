// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QHash>
#include <QString>

#include <memory>
#include <vector>

// One named value of a message, as it is before it is escaped.
class Parameter {
public:
    const QString &Name() const { return m_name; }
    void SetName(const QString &name) { m_name = name; }
    const QString &value() const { return m_value; }
    void Setvalue(const QString &value) { m_value = value; }

private:
    QString m_name;
    QString m_value;
};

// The parameters of a message in the order in which they were added. Names are
// keys without regard to letter case, so no two entries share one. The key is the
// name given to Add: SetName on an entry does not change it. Entries are shared
// with whoever holds their pointers, and with copies of the collection. Errors
// have no source.
class Parameters {
public:
    using Pointer = std::shared_ptr<Parameter>;

    // Sets name and value of the entry with that name, or of a new one at the
    // end; an entry that was there keeps its position.
    Pointer Add(const QString &Name, const QString &Value);
    // Raises InvalidCall for a name that is not there.
    void Remove(const QString &Name);
    // Positions count from 1. Raises SubscriptOutOfRange.
    void RemoveAt(qint32 Index);
    // The first position, from 1, of an entry that has that name now, without
    // regard to letter case; Count + 1 when there is none.
    qint32 GetIndex(const QString &Name) const;
    void Clear();
    qint32 Count() const { return static_cast<qint32>(m_entries.size()); }
    // Raises InvalidCall for a name that is not there.
    const Pointer &Item(const QString &Name) const;

    auto begin() const { return m_entries.begin(); }
    auto end() const { return m_entries.end(); }

private:
    qint32 Find(const QString &name) const;

    std::vector<Pointer> m_entries;
    QHash<QString, qint32> m_positions; // by folded name, from 0
};

// One message of the download service's protocol: a command and parameters,
// and the line of text that both make on the wire, such as
// "REPORT?sid=7&list=a%3Bb;". In values "%", "?", "=", "&" and ";" are escaped, as
// a percent sign and two capital hexadecimal digits; nothing else is, and no other
// escape is undone. Command and names stand as they are: they must not hold what
// would end them, such as a ";". docs/download-service.md describes the protocol.
// A copy shares the entries of Parameters.
class MESSAGE {
public:
    enum ErrorNumber : qint32 {
        InvalidMessage = static_cast<qint32>(0x80040001), // no ";"
        BadParameters = static_cast<qint32>(0x80040002), // a piece without "="
        NoCommand = static_cast<qint32>(0x80040003), // the command is empty
    };

    const QString &Command() const { return m_command; }
    void SetCommand(const QString &command) { m_command = command; }
    // The last packed form, or the last text handed to UnPack; empty before either.
    const QString &Text() const { return m_text; }
    ::Parameters &Parameters() { return m_parameters; }
    const ::Parameters &Parameters() const { return m_parameters; }

    // Makes Text from the command and the parameters. Raises NoCommand under
    // "Message::Pack()", and Text stays as it was.
    void Pack();
    // Rebuilds the message from a text; what stands behind the first ";" is
    // ignored, and so is what a piece has behind its second "=". Of a name that
    // comes twice the last value counts. Raises InvalidMessage, BadParameters and,
    // for a ";" before the "?", InvalidCall under "Message::UnPack()", and keeps
    // what was decoded until then.
    void UnPack(const QString &Text);

private:
    QString m_command;
    QString m_text;
    ::Parameters m_parameters;
};
