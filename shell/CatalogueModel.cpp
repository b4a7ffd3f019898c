#include "shell/CatalogueModel.h"

#include "common/Common.h"
#include "common/Error.h"
#include "model/Globals.h"
#include "ui/Layout.h"
#include "ui/Theme.h"

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::array ColumnShares = { 10, 90 };
// Characters; a longer name would only keep the list busy.
constexpr qsizetype LongestText = 500;

}

void CatalogueModel::Refresh()
{
    beginResetModel();
    m_rows.clear();
    Globals::PutBackExams();
    for (const QString &path : Globals::GetInstalledExams()) {
        Exam exam;
        // One file that cannot be read must not hide the exams behind it.
        try {
            exam.LoadHeader(path);
        } catch (const Error &) {
            continue;
        }
        m_rows.push_back(
            { path, Common::ShownText(exam.Code()).left(LongestText), Common::ShownText(exam.Name()).left(LongestText) });
    }
    endResetModel();
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
    switch (role) {
    case Qt::DisplayRole:
    case Qt::ToolTipRole: {
        // A tool tip takes what looks like markup for markup.
        const QString text = index.column() == 0 ? row.Code : row.Name;
        return role == Qt::DisplayRole ? text : text.toHtmlEscaped();
    }
    case Qt::ForegroundRole: return Theme::ListText;
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
