// SPDX-License-Identifier: Apache-2.0
#include "shell/view/CatalogueModel.h"

#include "common/Common.h"
#include "common/Error.h"
#include "model/Globals.h"
#include "ui/Layout.h"
#include "ui/Theme.h"

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::array ColumnShares = { 10, 90 };
// Characters; a list is slow with longer texts, and a tip would cover the screen.
constexpr qsizetype LongestText = 500;
constexpr qsizetype LongestTip = 2000;
constexpr int LongestWord = 60;

QString Cut(const QString &text, qsizetype longest)
{
    return text.size() > longest ? text.left(longest) + u'…' : text;
}

// The text as a tool tip: what looks like markup is shown as it stands, and a
// long word has places where the line may end.
QString TipOf(const QString &text)
{
    constexpr QChar BreakHere(0x200B);
    QString broken;
    int word = 0;
    for (const QChar character : Cut(text, LongestTip)) {
        word = character.isSpace() ? 0 : word + 1;
        if (word > LongestWord && !character.isLowSurrogate()) {
            broken += BreakHere;
            word = 1;
        }
        broken += character;
    }
    return u"<p style='white-space: pre-wrap'>"_s + broken.toHtmlEscaped() + u"</p>"_s;
}

}

void CatalogueModel::Refresh()
{
    Globals::PutBackExams();
    const QStringList paths = Globals::GetInstalledExams();
    beginResetModel();
    try {
        Fill(paths);
    } catch (...) {
        endResetModel();
        throw;
    }
    endResetModel();
}

void CatalogueModel::Fill(const QStringList &paths)
{
    m_rows.clear();
    for (const QString &path : paths) {
        Exam exam;
        // One file that cannot be read must not hide the exams behind it.
        try {
            exam.LoadHeader(path);
        } catch (const std::exception &) {
            continue;
        }
        m_rows.push_back({ path, Common::ShownText(exam.Code()), Common::ShownText(exam.Name()) });
    }
}

int CatalogueModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int CatalogueModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(ColumnShares.size());
}

QVariant CatalogueModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const Row &row = m_rows.at(index.row());
    const QString &text = index.column() == 0 ? row.Code : row.Name;
    switch (role) {
    case Qt::DisplayRole: return Cut(text, LongestText);
    case Qt::ToolTipRole: return TipOf(text);
    case Qt::AccessibleTextRole: return text;
    case Qt::ForegroundRole: return Theme::Current().ListText;
    case Qt::UserRole: return row.Path;
    default: return {};
    }
}

QVariant CatalogueModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= columnCount())
        return {};
    if (role == ColumnTagRole)
        return ColumnShares.at(section);
    if (role == Qt::DisplayRole)
        return section == 0 ? u"Code"_s : u"Exam"_s;
    if (role == Qt::TextAlignmentRole)
        return int(Qt::AlignLeft | Qt::AlignVCenter);
    return {};
}
