// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "signature/Minisign.h"
#include "signature/PackStatement.h"

#include <cstdint>
#include <optional>

class PackReader;

// Which packs may be run or installed. Without a key every pack may; with at least one, a
// pack must have a valid signature by one of the keys, for the exam that is wanted, and
// must not be older than the version that was installed last.
//
// The keys are those that the program was built with and those of the text KeysName in the
// user's registry, beside the address of the service, separated by blanks.
namespace PackTrust {

extern const QString KeysName;
// The key of the registry with the version installed last of each exam, by exam ID.
extern const QString VersionsKey;

// All keys, each once. Raises InvalidCall if a text cannot be read as keys, or the registry
// cannot be read: then there may be keys.
std::vector<Minisign::PublicKey> Keys();

// Checks a pack that has passed PackReader::Check. Returns what is stated by the first
// valid signature; nothing when there are no keys. Raises InvalidCall with the reason for
// which the pack is refused. Without an exam any is as good.
std::optional<PackStatement> Check(const PackReader &pack, const std::optional<QString> &exam = {});
// The same for the pack in a file that is open for reading (descriptor or handle), with
// PackReader::Check. Reads nothing when there are no keys.
std::optional<PackStatement> Check(std::intptr_t file, const QString &exam);

// To be called when the pack has been installed. Raises nothing: that the version cannot be
// stored is logged.
void Remember(const PackStatement &statement);

// The statement of the first signature that is valid by the key; raises InvalidCall if
// there is none.
PackStatement Verified(const PackReader &pack, const Minisign::PublicKey &key);

}
