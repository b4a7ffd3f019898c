// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "author/Assembler.h"
#include "author/Package.h"
#include "author/Selection.h"
#include "author/Sources.h"
#include "bank/Formats.h"

#include <QCommandLineParser>

// The options of "practorium-author build".
struct BuildOptions {
    QStringList Sources;
    Sources::Hints Hints;
    Bank::Options Reading;
    Assembler::Settings Assembling;
    Selection::Settings Choice;
    quint64 Seed = 0;
    bool HasSeed = false;
    int Variants = 0; // 0: one exam under its own name
    Package::Header Header; // empty texts and 0 minutes: not given
    QString Out;
    QString Report; // empty for none
    bool Replaces = false;
    bool IsStrict = false;

    // Declares the arguments and options.
    static void Describe(QCommandLineParser &parser);
    // What --help says behind them.
    static QString Notes();
    // Takes the values of a parser that has parsed. Returns what is wrong with them;
    // empty when nothing is.
    QString Read(const QCommandLineParser &parser);

private:
    QString ReadHeader(const QCommandLineParser &parser);
    QString ReadChoice(const QCommandLineParser &parser);
    QString ReadTexts(const QCommandLineParser &parser);
};
