#pragma once

#include <QAbstractTableModel>
#include <QString>
#include <QStringList>

#include <vector>

// The rows of the main window's list: one installed exam each, its code in the
// first column and its name in the second.
class CatalogueModel : public QAbstractTableModel {
    Q_OBJECT
public:
    using QAbstractTableModel::QAbstractTableModel;

    // Fills the rows anew from the headers of the installed exams, in the order
    // in which the system lists them; a file whose header cannot be read is
    // left out. Of a refresh that raises, the rows stay that it has filled.
    void Refresh();
    // The exam file behind a row, which counts from 0.
    QString Path(int row) const { return m_rows.at(row).Path; }

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    // A long text is shown cut, with a sign; all of it stands under
    // Qt::AccessibleTextRole.
    QVariant data(const QModelIndex &index, int role) const override;
    // The share of each column in percent stands under ColumnTagRole.
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    void Fill(const QStringList &paths);

    struct Row {
        QString Path;
        QString Code;
        QString Name;
    };
    std::vector<Row> m_rows;
};
