// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "markup/Scripts.h"

#include <QString>

#include <vector>

namespace Markup {

// The lines of a text, of a cell of a table, written from left to right.
class Lines {
public:
    // White space runs together into one blank.
    void PutCollapsed(QStringView text);
    // White space stays; line breaks end a line.
    void PutKept(QStringView text, bool isPreformatted);
    // Ends the line, or leaves an empty one behind a line that has ended.
    void Break();
    // Ends the line, if one has begun; with an empty one behind it.
    void EndBlock(bool hasMargin);
    // A whole line, such as a row of a table.
    void PutLine(const QString &line);
    void PutRule();

    void BeginList(bool isNumbered, int start, QChar type, bool isReversed);
    void EndList();
    // "value" is the number that the item is given, if any.
    void BeginItem(const int *value);
    void EndItem();

    // From Begin to End of the same side the text is raised or lowered.
    void BeginScript(Scripts::Side side);
    void EndScript(Scripts::Side side);

    // What stands in the line since a place, and putting something else there.
    qsizetype Place() const { return m_line.size(); }
    QStringView Since(qsizetype place) const { return QStringView(m_line).mid(std::min(place, m_line.size())); }
    void ReplaceSince(qsizetype place, const QString &text);

    // Everything, without white space at the ends except the indent of a first
    // line of code.
    QString Finished();

private:
    struct List {
        bool IsNumbered = false;
        int Number = 0; // of the next item
        QChar Type;
        int Step = 1;
        qsizetype Indent = 0; // of lines behind the first one of the item
        bool HasItem = false;
    };
    struct OpenScript {
        Scripts::Side Side;
        qsizetype Start;
    };

    void EndLine();
    void EncloseBareScript(QChar next);
    void CloseScript(const OpenScript &script);
    QString Prefix() const;

    QString m_text;
    QString m_line;
    QString m_mark; // that goes before the line
    std::vector<List> m_lists;
    std::vector<OpenScript> m_scripts;
    size_t m_lostScripts = 0; // that are open inside too many others
    qsizetype m_deepLists = 0; // the same for lists
    qsizetype m_bareScript = -1; // where one without brackets begins that ends the line
    bool m_canBeBlank = false; // the line ends with a blank that the next one joins
    bool m_isBlankWanted = false;
    bool m_wasItem = false; // the last line belongs to a list
    bool m_isFirstIndented = false;
    bool m_isPreformatted = false;
};

}
