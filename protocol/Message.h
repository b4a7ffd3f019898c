// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QHash>
#include <QString>

#include <memory>
#include <vector>

// One named value of a message.
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
// keys without regard to letter case, so no two entries share one.
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
    // The position of a name; Count + 1 when it is not there.
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
// "REPORT?sid=7&list=a%3Bb;".
class MESSAGE {
public:
    enum ErrorNumber : qint32 {
        InvalidMessage = static_cast<qint32>(0x80040001),
        BadParameters = static_cast<qint32>(0x80040002),
        NoCommand = static_cast<qint32>(0x80040003),
    };

    const QString &Command() const { return m_command; }
    void SetCommand(const QString &command) { m_command = command; }
    // The last packed form, or the last text handed to UnPack.
    const QString &Text() const { return m_text; }
    ::Parameters &Parameters() { return m_parameters; }
    const ::Parameters &Parameters() const { return m_parameters; }

    // Makes Text from the command and the parameters. Raises NoCommand under
    // "Message::Pack()".
    void Pack();
    // Rebuilds the message from a text; what stands behind the first ";" is
    // ignored. Raises InvalidMessage, BadParameters and InvalidCall under
    // "Message::UnPack()", and keeps what was decoded until then.
    void UnPack(const QString &Text);

private:
    QString m_command;
    QString m_text;
    ::Parameters m_parameters;
};
