// SPDX-License-Identifier: Apache-2.0
#include "author/BuildReport.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace BuildReport {

namespace {

QString FateOf(const Draft::Fate &fate)
{
    return !fate.Reason.isEmpty() ? u"left out"_s : fate.IsChosen ? u"taken"_s : u"not chosen"_s;
}

}

QStringList ReasonLines(const std::vector<Draft::Fate> &fates, int mostLines)
{
    static const QRegularExpression particular(u"\"[^\"]*\"( \\(U\\+[0-9A-F]+\\))?|\\b[0-9]+\\b"_s);
    struct Kind {
        QString First;
        int Count = 0;
        bool IsVaried = false;
    };
    QMap<QString, Kind> kinds;
    for (const Draft::Fate &fate : fates) {
        if (fate.Reason.isEmpty())
            continue;
        Kind &kind = kinds[QString(fate.Reason).replace(particular, u"…"_s)];
        if (kind.Count++ == 0)
            kind.First = fate.Reason;
        kind.IsVaried = kind.IsVaried || kind.First != fate.Reason;
    }
    std::vector<std::pair<int, QString>> counted;
    for (auto kind = kinds.constBegin(); kind != kinds.constEnd(); ++kind)
        counted.emplace_back(kind->Count, kind->IsVaried ? kind.key() : kind->First);
    std::stable_sort(counted.begin(), counted.end(), [](const auto &a, const auto &b) { return a.first > b.first; });
    QStringList lines;
    int others = 0;
    for (const auto &[count, reason] : counted) {
        if (lines.size() < mostLines - 1 || counted.size() == static_cast<size_t>(lines.size()) + 1)
            lines.append(u"%1 left out: %2"_s.arg(QString::number(count), reason));
        else
            others += count;
    }
    if (others > 0)
        lines.append(u"%1 left out for other reasons"_s.arg(others));
    return lines;
}

QByteArray ToJson(const std::vector<Draft::Fate> &fates)
{
    QByteArray json = "[";
    for (const Draft::Fate &fate : fates) {
        const QJsonObject line{ { u"place"_s, fate.Place },
                                { u"title"_s, fate.Title },
                                { u"fate"_s, FateOf(fate) },
                                { u"reason"_s, fate.Reason },
                                { u"warnings"_s, QJsonArray::fromStringList(fate.Warnings) } };
        json += json.size() > 1 ? ",\n" : "\n";
        json += QJsonDocument(line).toJson(QJsonDocument::Compact);
    }
    return json + "\n]\n";
}

QByteArray ToHtml(const std::vector<Draft::Fate> &fates, const QString &title)
{
    QString html = u"<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>%1</title>\n"
                   "<style>body{font-family:sans-serif;margin:2em}table{border-collapse:collapse}"
                   "th,td{text-align:left;vertical-align:top;padding:.3em .8em;border-bottom:1px solid #ddd}"
                   ".out td{background:#fdecea}.warned td{background:#fff8e1}</style></head>\n"
                   "<body><h1>%1</h1>\n<table><tr><th>Place<th>Question<th>Fate<th>Reason</tr>\n"_s.arg(title.toHtmlEscaped());
    for (const Draft::Fate &fate : fates) {
        const QString style = !fate.Reason.isEmpty() ? u" class=\"out\""_s
            : fate.Warnings.isEmpty()                ? QString()
                                                     : u" class=\"warned\""_s;
        QStringList reasons = fate.Reason.isEmpty() ? QStringList() : QStringList(fate.Reason);
        for (const QString &warning : fate.Warnings)
            reasons.append(u"Warning: "_s + warning);
        html += u"<tr"_s + style + u'>';
        for (const QString &cell : { fate.Place, fate.Title, FateOf(fate), reasons.join(u"; "_s) })
            html += u"<td>"_s + cell.toHtmlEscaped();
        html += u"</tr>\n"_s;
    }
    return (html + u"</table></body></html>\n"_s).toUtf8();
}

}
