// SPDX-License-Identifier: Apache-2.0
#include "bank/Table.h"

#include "bank/Category.h"
#include "common/Csv.h"
#include "bank/Decode.h"
#include "bank/TableColumns.h"
#include "bank/TableKey.h"
#include "common/Error.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Table {

namespace {

using TableColumns::Columns;

constexpr qsizetype SampleCharacters = 64 * 1024;
constexpr int SampleRecords = 50;
// The names of the columns may stand below a heading.
constexpr int SampleNames = 10;
// Each part of a key is looked for among the options.
constexpr size_t MostOptions = 100;

// How the text of a table is cut into records.
struct Layout {
    QStringView Text;
    QChar Separator = u',';
    int Line = 1; // of the source, where the text begins
};

QStringList NamesOf(const Csv::Record &record)
{
    QStringList names;
    for (const QStringView field : record.Fields)
        names.append(field.trimmed().toString());
    return names;
}

// How well a text fits to a separator.
struct Fit {
    // The first record, or the one that names known columns.
    QStringList Names;
    bool IsKnown = false;
    int Above = 0; // records above that one, such as a heading
    int Alike = 0; // records from that one on with as many fields
    int All = 0;

    // Records of one field each fit to every separator that they do not hold.
    int Points() const { return Names.size() < 2 ? 0 : (IsKnown ? 1000 : 0) + Alike * 100 / All; }
};

Fit FitOf(const Layout &layout)
{
    Fit fit;
    QStringView sample = layout.Text;
    if (sample.size() > SampleCharacters) {
        const qsizetype end = sample.first(SampleCharacters).lastIndexOf(u'\n');
        sample = sample.first(end < 0 ? SampleCharacters : end + 1);
    }
    Csv::Parser parser(sample, layout.Separator);
    Csv::Record record;
    try {
        while (fit.All < SampleRecords && parser.Next(record)) {
            if (record.IsBlank())
                continue;
            const bool mayBeNames = !fit.IsKnown && fit.All < SampleNames;
            const QStringList names = mayBeNames ? NamesOf(record) : QStringList();
            if (mayBeNames && TableColumns::AreKnown(TableColumns::ByNames(names)))
                fit = { names, true, fit.All, 0, 0 };
            else if (fit.All == 0)
                fit.Names = names;
            ++fit.All;
            fit.Alike += record.Fields.size() == static_cast<size_t>(fit.Names.size()) ? 1 : 0;
        }
    } catch (const Error &) {
        // What cannot be read with the separator, or is cut by the end of the sample.
    }
    return fit;
}

// The separator that the text itself names, or the one that fits best.
std::pair<Layout, Fit> LayoutOf(QStringView text)
{
    Layout layout{ text, u',', 1 };
    if (const QChar named = Csv::TakeSeparatorLine(layout.Text); !named.isNull()) {
        layout.Separator = named;
        layout.Line = 2;
        return { layout, FitOf(layout) };
    }
    Fit best;
    for (const QChar separator : { u'\t', u';', u',', u'|' }) {
        const Fit fit = FitOf({ layout.Text, separator });
        if (fit.Points() > best.Points()) {
            best = fit;
            layout.Separator = separator;
        }
    }
    return { layout, best.All > 0 ? best : FitOf(layout) };
}

// The parts of a cell that holds several things.
std::vector<QStringView> PartsOf(QStringView cell, std::initializer_list<QChar> separators)
{
    std::vector<QStringView> parts;
    const auto separator = std::find_if(separators.begin(), separators.end(), [&](QChar c) { return cell.contains(c); });
    if (separator == separators.end())
        return cell.isEmpty() ? parts : std::vector{ cell };
    for (const QStringView part : cell.tokenize(*separator)) {
        if (const QStringView trimmed = part.trimmed(); !trimmed.isEmpty())
            parts.push_back(trimmed);
        if (parts.size() > MostOptions)
            break;
    }
    return parts;
}

// The texts of a list as programs write it: ["a", "b"] or {"A": "a", "B": "b"} (JSON), or
// ['a', 'b'] (Python), with or without commas; empty for another cell.
QStringList ListOf(QStringView cell)
{
    if (cell.startsWith(u'{') && cell.endsWith(u'}')) {
        QStringList texts;
        // In the order of the names.
        for (const QJsonValue value : QJsonDocument::fromJson(cell.toUtf8()).object())
            texts.append(value.toVariant().toString());
        return texts;
    }
    if (!cell.startsWith(u'[') || !cell.endsWith(u']'))
        return {};
    QStringList texts;
    const auto json = QJsonDocument::fromJson(cell.toUtf8());
    for (const QJsonValue value : json.array())
        texts.append(value.toVariant().toString());
    const QStringView inside = cell.sliced(1, cell.size() - 2);
    for (qsizetype at = 0; !json.isArray() && at < inside.size(); ++at) {
        const QChar quote = inside[at];
        if (quote.isSpace() || quote == u',')
            continue;
        if (quote != u'"' && quote != u'\'')
            return {};
        QString text;
        for (++at; at < inside.size() && inside[at] != quote; ++at) {
            if (inside[at] == u'\\' && at + 1 < inside.size())
                text += inside[++at] == u'n' ? QChar(u'\n') : inside[at];
            else
                text += inside[at];
        }
        texts.append(text);
    }
    return texts;
}

class Reader {
public:
    Reader(const Bank::Source &source, const Bank::Options &options, Bank::Receiver &receiver)
        : m_source(source)
        , m_options(options)
        , m_receiver(receiver)
    {
    }

    void Read()
    {
        const QString text = Bank::Decode(m_source);
        try {
            Find(text);
            Learn();
        } catch (Error &error) {
            error.SetSource(m_source.Name);
            throw;
        }
        WarnOfDoubts();
        WarnOfUnused();
        Each([this](const Csv::Record &record) { Take(record); });
    }

private:
    // The separator, the columns, and whether the first row names them.
    void Find(QStringView text)
    {
        const auto [layout, fit] = LayoutOf(text);
        m_layout = layout;
        m_names = fit.Names;
        m_above = fit.Above;
        if (m_names.isEmpty())
            Each([](const Csv::Record &) {});
        const TableColumns::Request request = TableColumns::RequestOf(m_options.Columns);
        m_columns = TableColumns::ByNames(m_names);
        m_hasNames = TableColumns::AreKnown(m_columns) || request.HasNames();
        if (!m_hasNames)
            m_columns = {};
        TableColumns::Apply(request, m_names, m_columns);
        const QLatin1StringView missing = m_columns.Question < 0 ? "a question"_L1 : m_columns.Key < 0 ? "a key"_L1 : ""_L1;
        if (!missing.isEmpty())
            throw Error(InvalidCall,
                        u"no column is named like %1; columns are: %2; say --columns"_s.arg(missing,
                                                                                            TableColumns::Listed(m_names)));
    }

    // Calls it for each row with something in it, below that of the names.
    template <class Operation> void Each(Operation &&operation)
    {
        Csv::Parser parser(m_layout.Text, m_layout.Separator, m_layout.Line);
        Csv::Record record;
        int left = m_hasNames ? m_above + 1 : 0;
        while (parser.Next(record)) {
            if (record.IsBlank())
                continue;
            if (left > 0)
                --left;
            else
                operation(record);
        }
    }

    // How the keys are written, by all of them.
    void Learn()
    {
        m_keys.emplace(m_options, m_columns.HasCyrillicLetters);
        bool hasTruths = false;
        bool isFirst = true;
        Each([&](const Csv::Record &record) {
            const QStringView key = Cell(record, m_columns.Key);
            const bool isTruth = TableKey::TruthOf(key, m_options).has_value();
            FillOptions(record);
            hasTruths = hasTruths || (isTruth && m_cells.empty());
            if (m_cells.size() <= MostOptions && !m_columns.AreDistractors)
                m_keys->Learn(key, m_cells);
            // A first row that is no question holds names, even if none is known.
            QStringList warnings;
            if (std::exchange(isFirst, false) && !m_hasNames)
                m_isFirstUnlike = !isTruth && m_keys->RightOptions(key, m_cells, warnings).empty();
        });
        m_hasNames = m_hasNames || m_isFirstUnlike;
        if (m_columns.Options.empty() && !hasTruths)
            throw Error(InvalidCall,
                        u"no column is named like an option; columns are: %1; say --columns"_s.arg(
                            TableColumns::Listed(m_names)));
    }

    void WarnOfDoubts()
    {
        const auto warn = [this](bool isTrue, const QString &text) {
            if (isTrue)
                m_receiver.Warn(m_layout.Line, text);
        };
        warn(m_above > 0, u"what stands above the names of the columns is not read"_s);
        warn(m_isFirstUnlike, u"the first row is taken for the names of the columns"_s);
        warn(m_keys->IsFirstUnknown(), u"the keys are taken for numbers from 1; none tells whether they begin at 0"_s);
        warn(m_columns.AreDistractors, u"the right option is the first of every item (--shuffle options mixes them)"_s);
    }

    void WarnOfUnused()
    {
        QStringList unused;
        for (int column = 0; m_hasNames && column < m_names.size(); ++column) {
            if (!m_columns.IsUsed(column) && !TableColumns::IsWithoutUse(m_names.at(column)))
                unused.append(m_names.at(column));
        }
        if (!unused.isEmpty())
            m_receiver.Warn(m_layout.Line, u"columns that are not read: %1"_s.arg(TableColumns::Listed(unused)));
    }

    static QStringView Cell(const Csv::Record &record, int column)
    {
        const bool isThere = column >= 0 && static_cast<size_t>(column) < record.Fields.size();
        return isThere ? record.Fields[static_cast<size_t>(column)].trimmed() : QStringView();
    }

    Markup::Text TextOf(const Csv::Record &record, int column) const
    {
        return { Cell(record, column).toString(), m_options.Unmarked };
    }

    // The options of a row by their columns, without empty ones at the end.
    void FillOptions(const Csv::Record &record)
    {
        m_cells.clear();
        if (m_columns.Options.size() == 1) {
            const QStringView cell = Cell(record, m_columns.Options.front());
            m_listed = ListOf(cell);
            m_cells.assign(m_listed.begin(), m_listed.end());
            if (m_cells.empty())
                m_cells = PartsOf(cell, { u'\n', u'|', u';', u',' });
        } else {
            for (const int column : m_columns.Options)
                m_cells.push_back(Cell(record, column));
            while (!m_cells.empty() && m_cells.back().isEmpty())
                m_cells.pop_back();
        }
        if (m_columns.AreDistractors && !m_cells.empty())
            m_cells.insert(m_cells.begin(), Cell(record, m_columns.Key));
    }

    void Take(const Csv::Record &record)
    {
        Bank::Item item;
        item.Line = record.Line;
        item.Files = m_source.Files;
        item.Title = Cell(record, m_columns.Title).toString();
        item.Category = Bank::CategoryParts(Cell(record, m_columns.Category)).join(u'/');
        item.Problem = TextOf(record, m_columns.Question);
        item.Feedback = TextOf(record, m_columns.Explanation);
        if (record.HasOddQuote)
            item.Warnings += u"a quotation mark begins a field and does not enclose it (write two for one in a text)"_s;
        AddPictures(item, Cell(record, m_columns.Picture));
        FillOptions(record);
        item.Refusal = FaultOf(record);
        if (item.Refusal.isEmpty())
            item.Refusal = m_cells.empty() ? AddTrueFalse(item, record) : AddOptions(item, record);
        m_receiver.Add(std::move(item));
    }

    // Texts with a separator that no quotation marks enclose move all that follows.
    QString FaultOf(const Csv::Record &record) const
    {
        const auto names = static_cast<size_t>(m_names.size());
        const bool isLonger = record.Fields.size() > names
            && std::any_of(record.Fields.begin() + m_names.size(), record.Fields.end(),
                           [](QStringView field) { return !field.trimmed().isEmpty(); });
        if (isLonger)
            return u"the row has %1 fields and the first row %2 (is a quotation mark missing?)"_s.arg(record.Fields.size())
                .arg(names);
        return m_cells.size() > MostOptions ? u"it has more than %1 options"_s.arg(MostOptions) : QString();
    }

    // One picture is the exhibit; several belong to the stem.
    static void AddPictures(Bank::Item &item, QStringView cell)
    {
        const std::vector<QStringView> names = PartsOf(cell, { u'\n', u';', u'|' });
        if (names.size() == 1)
            item.Exhibit = names.front().toString();
        if (names.size() > 1 && item.Problem.Kind == Markup::Kind::Plain)
            item.Problem = { item.Problem.Source.toHtmlEscaped(), Markup::Kind::Moodle };
        for (size_t i = 0; names.size() > 1 && i < names.size(); ++i)
            item.Problem.Source
                += u"\n<img src=\"%1\">"_s.arg(QString::fromLatin1(QUrl::toPercentEncoding(names[i].toString(), "/:")));
    }

    QString AddTrueFalse(Bank::Item &item, const Csv::Record &record) const
    {
        const QStringView key = Cell(record, m_columns.Key);
        const auto truth = TableKey::TruthOf(key, m_options);
        if (!truth)
            return key.isEmpty() ? u"an essay question has no options"_s : u"a short-answer question has no options"_s;
        for (const bool value : { true, false })
            item.Options.push_back({ { value ? m_options.True : m_options.False, Markup::Kind::Plain }, {}, value == *truth });
        return {};
    }

    // Of a key that names no option.
    QString RefusalOf(QStringView key) const
    {
        if (key.isEmpty())
            return u"no option is right"_s;
        const QStringView shown = key.first(std::min<qsizetype>(key.size(), 40));
        return m_keys->IsOfTwoScripts(key) ? u"the letters of the key \"%1\" may be Latin or Cyrillic"_s.arg(shown)
                                           : u"the key \"%1\" names no option"_s.arg(shown);
    }

    // Of a key that is the name of an option's column.
    std::vector<int> RightColumn(QStringView key) const
    {
        for (size_t i = 0; i < m_cells.size() && i < m_columns.Options.size() && !key.isEmpty(); ++i) {
            if (key.compare(m_names.value(m_columns.Options[i]), Qt::CaseInsensitive) == 0 && !m_cells[i].isEmpty())
                return { static_cast<int>(i) };
        }
        return {};
    }

    QString AddOptions(Bank::Item &item, const Csv::Record &record) const
    {
        const QStringView key = Cell(record, m_columns.Key);
        std::vector<int> right = m_columns.AreDistractors ? std::vector<int>(key.isEmpty() ? 0 : 1, 0)
                                                          : m_keys->RightOptions(key, m_cells, item.Warnings);
        if (right.empty())
            right = RightColumn(key);
        if (right.empty())
            return RefusalOf(key);
        for (size_t i = 0; i < m_cells.size(); ++i) {
            // The letters of the key are those of the columns, gaps included.
            if (m_cells[i].isEmpty())
                continue;
            Bank::Option option{ { m_cells[i].toString(), m_options.Unmarked }, {} };
            option.IsRight = std::binary_search(right.begin(), right.end(), static_cast<int>(i));
            if (i < m_columns.Feedback.size())
                option.Feedback = TextOf(record, m_columns.Feedback[i]);
            item.Options.push_back(std::move(option));
        }
        item.IsMultiple = right.size() > 1;
        return {};
    }

    const Bank::Source &m_source;
    const Bank::Options &m_options;
    Bank::Receiver &m_receiver;
    Layout m_layout;
    QStringList m_names; // the fields of the first row, or of that which names known columns
    int m_above = 0; // rows above that one
    bool m_hasNames = false;
    bool m_isFirstUnlike = false; // it is taken for names, and none is known
    Columns m_columns;
    std::optional<TableKey::Reader> m_keys;
    TableKey::Options m_cells; // of the row that is read
    QStringList m_listed; // what m_cells shows of a list
};

}

bool Suits(const Bank::Source &source)
{
    const QString text = Bank::Beginning(source);
    const Fit fit = LayoutOf(text).second;
    return fit.Names.size() >= 2 && fit.IsKnown && fit.Alike * 2 >= fit.All;
}

bool IsTable(const Bank::Source &source)
{
    const QString text = Bank::Beginning(source);
    const Fit fit = LayoutOf(text).second;
    return fit.Names.size() >= 3 && fit.All >= 2 && fit.Alike == fit.All;
}

void Read(const Bank::Source &source, const Bank::Options &options, Bank::Receiver &receiver)
{
    Reader(source, options, receiver).Read();
}

}
