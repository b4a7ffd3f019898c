// SPDX-License-Identifier: Apache-2.0
#include "service/Password.h"

#include "common/Ansi.h"
#include "common/Common.h"
#include "common/Error.h"

#include <QRegularExpression>

#include <sodium.h>

#include <algorithm>
#include <cerrno>

using namespace Qt::Literals::StringLiterals;

namespace Password {

namespace {

constexpr qsizetype LongestText = 1'000;

void Prepare()
{
    static const bool isReady = sodium_init() >= 0;
    if (!isReady)
        throw Error(InvalidCall, u"The cryptographic library does not start"_s, u"Password::Prepare()"_s);
}

QString InvalidTextReason(const QString &text)
{
    if (text.isEmpty())
        return u"is empty"_s;
    if (text != Common::TrimBlanks(text))
        return u"begins or ends with a blank"_s;
    if (text.size() > LongestText)
        return u"is longer than %1 characters"_s.arg(LongestText);
    if (std::any_of(text.begin(), text.end(), [](QChar c) { return c.category() == QChar::Other_Control; }))
        return u"has a control character"_s;
    if (!Ansi::SystemCodePage().CanHold(text))
        return u"has a character that code page %1 lacks"_s.arg(Ansi::SystemCodePage().Number());
    return {};
}

}

const Cost UsualCost = { crypto_pwhash_argon2id_OPSLIMIT_INTERACTIVE, crypto_pwhash_argon2id_MEMLIMIT_INTERACTIVE };
const Cost LeastCost = { crypto_pwhash_argon2id_OPSLIMIT_MIN, crypto_pwhash_argon2id_MEMLIMIT_MIN };

QByteArray Hash(const QString &password, const Cost &cost)
{
    Prepare();
    QByteArray text = password.toUtf8();
    QByteArray hash(crypto_pwhash_STRBYTES, '\0');
    const int result = crypto_pwhash_str_alg(hash.data(), text.constData(), static_cast<quint64>(text.size()), cost.Passes,
                                             cost.Bytes, crypto_pwhash_ALG_ARGON2ID13);
    sodium_memzero(text.data(), static_cast<size_t>(text.size()));
    if (result != 0)
        throw Error(ENOMEM, u"There is not enough memory for a password's hash"_s, u"Password::Hash()"_s);
    hash.truncate(qstrlen(hash.constData()));
    return hash;
}

bool Matches(const QByteArray &hash, const QString &password)
{
    Prepare();
    QByteArray text = password.toUtf8();
    const int result = crypto_pwhash_str_verify(hash.constData(), text.constData(), static_cast<quint64>(text.size()));
    sodium_memzero(text.data(), static_cast<size_t>(text.size()));
    return result == 0;
}

bool IsHash(const QByteArray &text)
{
    Prepare();
    static const QRegularExpression form(
        u"^\\$argon2id\\$v=19\\$m=(\\d{1,9}),t=(\\d{1,9}),p=1\\$[A-Za-z0-9+/]+\\$[A-Za-z0-9+/]+$"_s);
    const auto match = form.match(QString::fromLatin1(text));
    // The memory is in KiB.
    return match.hasMatch() && text.size() < qsizetype(crypto_pwhash_STRBYTES)
        && match.captured(1).toULongLong() * 1024 <= 4 * UsualCost.Bytes
        && match.captured(1).toULongLong() * 1024 * match.captured(2).toULongLong() <= 4 * UsualCost.Bytes * UsualCost.Passes
        && crypto_pwhash_str_needs_rehash(text.constData(), UsualCost.Passes, UsualCost.Bytes) >= 0;
}

QString Generated()
{
    Prepare();
    // Without those that look alike.
    constexpr QStringView characters = u"abcdefghjkmnpqrstuvwxyz23456789";
    QString password;
    for (int i = 0; i < 16; ++i) {
        if (i > 0 && i % 4 == 0)
            password += u'-';
        password += characters[randombytes_uniform(static_cast<quint32>(characters.size()))];
    }
    return password;
}

QString InvalidUserReason(const QString &email)
{
    const QString reason = InvalidTextReason(email);
    return reason.isEmpty() ? reason : u"the user ID "_s + reason;
}

QString InvalidReason(const QString &password)
{
    const QString reason = InvalidTextReason(password);
    return reason.isEmpty() ? reason : u"the password "_s + reason;
}

}
