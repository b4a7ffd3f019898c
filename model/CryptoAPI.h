// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

class File;

// The one cipher of the program, for the texts of an exam and the remembered
// password: RC4 under a 40-bit key from the MD5 digest (RFC 1321) of a pass
// phrase. It keeps a file from being read by accident, no more than that.
namespace CryptoAPI {

constexpr quint32 CipherRC4 = 0x6801;
constexpr quint32 HashMD5 = 0x8003;

// Transform Data in place; its length stays. Nothing happens when Data or the
// pass phrase is empty. An algorithm other than the two above raises the
// system's error under "CryptoAPI:Encrypt()" or "CryptoAPI:Decrypt()".
bool Encrypt(QByteArray &Data, const QString &PassPhrase, quint32 Algorithm, quint32 HashAlgorithm);
bool Decrypt(QByteArray &Data, const QString &PassPhrase, quint32 Algorithm, quint32 HashAlgorithm);

// The same for a text, converted to or from ANSI bytes.
QByteArray EncryptText(const QString &Text, const QString &PassPhrase, quint32 Algorithm, quint32 HashAlgorithm);
QString DecryptText(const QByteArray &Data, const QString &PassPhrase, quint32 Algorithm, quint32 HashAlgorithm);

// The pass phrase of exam records, built at its first use and kept.
const QString &RecordPassPhrase();

// A text stands in a record as a 32-bit byte count and the enciphered bytes, in
// the file's SealedPage; any other value is written and read as File does. An empty
// text leaves the value that is read as it is. Errors of File pass through.
void WriteSecureData(File &Target, const QVariant &Value, qint32 Length);
void WriteSecureData(File &Target, const QString &Value);
void ReadSecureData(File &Source, QVariant &Value, qint32 Length);
void ReadSecureData(File &Source, QString &Value);
// Deciphers the bytes of such a text in place.
void OpenSecureData(QByteArray &Bytes);

}
