#include "shell/CatalogueModel.h"

#include "common/Common.h"
#include "model/Globals.h"
#include "ui/Layout.h"
#include "ui/Theme.h"

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::array ColumnShares = { 10, 90 };

}

void CatalogueModel::Refresh()
{
    const QStringList paths = Globals::GetInstalledExams();
    // The view hears of the rows that are there in the end, also after an error.
    struct Reset {
        explicit Reset(CatalogueModel *model)
            : Model(model)
        {
            Model->beginResetModel();
        }
        ~Reset() { Model->endResetModel(); }
        CatalogueModel *Model;
    } reset(this);
    m_rows.clear();
    for (const QString &path : paths) {
        Exam exam;
        if (!exam.LoadHeader(path))
            continue;
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
    const Row &row = m_rows.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case Qt::ToolTipRole: {
        // A tool tip takes what looks like markup for markup.
        const QString text = index.column() == 0 ? row.Code : row.Name;
        return role == Qt::DisplayRole ? text : text.toHtmlEscaped();
    }
    case Qt::ForegroundRole:
        return Theme::ListText;
    case Qt::UserRole:
        return row.Path;
    default:
        return {};
    }
}

QVariant CatalogueModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return {};
    if (role == ColumnTagRole)
        return ColumnShares.at(section);
    if (role == Qt::DisplayRole)
        return section == 0 ? u"Code"_s : u"Exam"_s;
    if (role == Qt::TextAlignmentRole)
        return int(Qt::AlignLeft | Qt::AlignVCenter);
    return {};
}
