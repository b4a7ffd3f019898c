// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Files.h"
#include "markup/Text.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <vector>

// Question banks: what every format is read into.
namespace Bank {

struct Option {
    Markup::Text Statement;
    Markup::Text Feedback;
    bool IsRight = false;
    // The source says that it keeps its place when options are shuffled.
    bool IsFixed = false;
};

struct Item {
    int Line = 0; // of the item's first line in its source, 1-based
    // The file inside a package that holds the item; empty outside packages.
    QString Entry;
    // What the source calls the item; empty when it has no name. No candidate
    // sees it.
    QString Title;
    // The path of its category, parted by "/"; empty for none.
    QString Category;
    // Why this is no item with options to choose from; empty when it is one.
    // Not empty: all but Line, Entry, Title and Category have no meaning.
    QString Refusal;
    // What is lost of the item though it is taken, each a line.
    QStringList Warnings;
    // What several items share, shown before the stem; empty for none.
    Markup::Text Passage;
    // The stem; "_____" stands where the options interrupt a sentence.
    Markup::Text Problem;
    std::vector<Option> Options;
    Markup::Text Feedback; // the general feedback
    // More than one option may be correct.
    bool IsMultiple = false;
    // More options may be ticked than are correct.
    bool IsUnlimited = false;
    // The name of a picture that the source gives as the item's exhibit, unchecked.
    std::optional<QString> Exhibit;
    // Where the pictures of the texts, and the exhibit, are found; null: nowhere
    // but beside the source.
    std::shared_ptr<const Bank::Files> Files;
};

// One question bank to read: a file, or a package, which is a folder or a zip
// archive. Formats that are packages look at Files once IsPackage
// (bank/Archive.h) says so.
struct Source {
    // The path as the user wrote it; "-" for the standard input.
    QString Name;
    QByteArray Bytes; // empty for a folder
    // Of a folder or an archive the files in it (FolderFiles, Archive), else the
    // files beside it; null for none, and for an empty file, which is no folder.
    std::shared_ptr<const Bank::Files> Files;
    // The encoding that the user names for it, for formats without a declaration of
    // their own; see Decode (bank/Decode.h). Empty: UTF-8, or what its bytes say.
    QString Encoding = {};
};

// What the user asks of a reader.
struct Options {
    // A description is a passage of the items behind it instead of being refused.
    bool HasPassages = false;
    // The options of a question that has no texts of its own for them.
    QString True = QStringLiteral("True");
    QString False = QStringLiteral("False");
    // How texts are taken that GIFT or a table do not say the markup of.
    Markup::Kind Unmarked = Markup::Kind::Moodle;
    // The columns of a table by their meaning, such as "question=2,key=Answer";
    // empty: as the first row names them.
    QString Columns;
};

// Gets what a reader finds, in the order of the source.
class Receiver {
public:
    virtual ~Receiver() = default;
    virtual void Add(Item &&item) = 0;
    // What the bank calls itself. The first that is not empty counts.
    virtual void SetName(const QString &name) = 0;
    // Something about the bank as a whole, or about what belongs to no item.
    virtual void Warn(int line, const QString &text) = 0;
};

}
