// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "pack/PackContents.h"
#include "signature/Minisign.h"
#include "signature/PackStatement.h"

#include <QStringList>

// Keys in files, for the commands that make and check signed packs.
namespace Signing {

constexpr qsizetype MostKeys = 2; // of one pack, so that a vendor can change keys

// Makes a new key: the secret one in file, which only the user may read and which must not
// exist yet, the public one in file and ".pub". Raises InvalidCall.
Minisign::PublicKey MakeKey(const QString &file, const QString &passPhrase, Minisign::Cost cost = Minisign::Cost::High);

// The public key that the text is, or that stands in the file of that name. Raises
// InvalidCall.
Minisign::PublicKey PublicKey(const QString &text);

// What signs packs with the secret keys in the files, whose pass phrases are read from the
// terminal or, one line for each file, from the standard input. An empty signer in the
// statement becomes the ID of the first key. Raises InvalidCall.
PackContents::Signer SignerOf(const QStringList &files, PackStatement statement);

// The faults of a pack: one line, or none. If the texts of keys are not empty, a signature
// by one of them is required. notes gets what the signatures state.
QStringList Faults(const QString &pack, const QStringList &keys, QStringList &notes);

}
