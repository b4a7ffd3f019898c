// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QAbstractTableModel>
#include <QString>
#include <QStringList>

#include <vector>

// The rows of the main window's list: one installed exam each, its code in the
// first column and its name in the second, each up to its first NUL.
class CatalogueModel : public QAbstractTableModel {
    Q_OBJECT
public:
    using QAbstractTableModel::QAbstractTableModel;

    // Fills the rows anew from the headers of the installed exams, in the order
    // in which the system lists them; a file whose header cannot be read is
    // left out. Exams that a killed pack has left in a kept folder are put back
    // first. When this raises, the rows filled until then stay. Reads files
    // without running events; the list is empty before the first call.
    void Refresh();
    // The exam file behind a row, which counts from 0. Raises std::out_of_range,
    // no Error, for a row that is not there.
    QString Path(int row) const { return m_rows.at(row).Path; }

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    // A text of more than 500 characters is cut and ends with an ellipsis;
    // Qt::AccessibleTextRole gives all of it, and Qt::UserRole the row's path.
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
