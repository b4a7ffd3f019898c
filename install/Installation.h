// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QDateTime>
#include <QString>

#include <functional>
#include <optional>

// Installs what a user was given: a pack for any system, an exam file or a package
// folder. A pack is read as data and never run; all three go through the checks
// and the steps that the program in front of a pack goes through. Which packs are refused for
// their signatures: signature/PackTrust.h.
namespace Installation {

// An exam as it is shown to the user.
struct Title {
    QString Code;
    QString Name;
    int Items = 0;
};

// What is about to be installed.
struct Offer {
    QString Folder; // the name of its folder
    Title Exam;
    int Files = 0;
    qint64 Bytes = 0; // of all files
    // Who has signed the pack, and when (UTC); empty and invalid when no signatures are
    // required, or what was given is no pack.
    QString Signer;
    QDateTime SignedAt;
    // Whether packs must be signed, and what was given is an exam file or a folder, which
    // nobody signs.
    bool IsUnsigned = false;
    // Exhibits that items name and that are not there.
    int MissingExhibits = 0;
    // The installed exam whose place it takes; without items when that one cannot be read.
    std::optional<Title> Replaced;
    // Whether the user has no exam in that folder yet, but there is one for everybody on the
    // machine: the user's own will be listed in its place.
    bool IsShared = false;
};

// Looks at what stands at the path, asks once, and installs it. Returns false
// without any change when agrees returns false. Raises Error with one line of text for
// what cannot be installed; what agrees raises is passed on. Blocks until it is done, which may
// take seconds; agrees is called by the same thread.
bool Run(const QString &path, const std::function<bool(const Offer &)> &agrees);

}
