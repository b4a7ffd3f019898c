// SPDX-License-Identifier: Apache-2.0
#include "author/BuildOptions.h"
#include "author/BuildReport.h"
#include "author/Cancellation.h"
#include "author/Commands.h"
#include "author/Limits.h"
#include "author/Sources.h"
#include "author/TextPage.h"
#include "common/Error.h"
#include "console/Console.h"
#include "console/Terminal.h"

#include <QDir>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QSaveFile>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr double MinutesOfAnItem = 1.5;
constexpr int MostReasons = 10; // lines of the summary
constexpr int MostRefusedFiles = 100; // lines for each SOURCE

QString Counted(qint64 count, const QString &one)
{
    return u"%1 %2%3"_s.arg(QString::number(count), one, count == 1 ? QString() : u"s"_s);
}

// One run of the command.
class Builder {
public:
    explicit Builder(BuildOptions options)
        : m_options(std::move(options))
        , m_assembler(m_options.Assembling, m_exhibits)
    {
        m_assembler.Report = [this](const QString &line) {
            m_progress.Clear();
            Console::Complain(line);
        };
    }

    int Execute()
    {
        // From here on a full disk is an error that is reported, and no end by a signal.
        {
            const Cancellation first;
        }
        for (const QString &out : Outs())
            Package::CheckTarget(out, m_options.Replaces);
        const auto read = [this](const Bank::Source &source, const Bank::Format *format) { Read(source, format); };
        const auto refuse = [this](const QString &name, const QString &reason) { Refuse(name, reason); };
        for (const QString &path : m_options.Sources) {
            Sources::ForEach(path, m_options.Hints, read, refuse);
            RefuseRest(path);
        }
        m_progress.Clear();
        CompleteHeader();
        const bool isMade = Make();
        WriteReport();
        Summarise(isMade);
        return isMade ? Command::Success : Command::Failure;
    }

private:
    struct Made {
        QString Out;
        qint32 Items = 0;
        int CodePage = 0;
        qint64 Unshuffled = 0; // items whose options had to keep their order
    };

    // Counts what passes on its way to the assembler.
    class Counter : public Bank::Receiver {
    public:
        Counter(Builder &run, QString source)
            : m_run(run)
            , m_source(std::move(source))
        {
        }
        void Add(Bank::Item &&item) override
        {
            m_run.m_assembler.Add(std::move(item));
            m_run.m_progress.Show(
                u"%1: %2"_s.arg(m_source, Counted(static_cast<qint64>(m_run.m_assembler.Fates.size()), u"question"_s)));
        }
        void SetName(const QString &name) override { m_run.m_assembler.SetName(name); }
        void Warn(int line, const QString &text) override { m_run.m_assembler.Warn(line, text); }

    private:
        Builder &m_run;
        QString m_source;
    };

    void Read(const Bank::Source &source, const Bank::Format *format)
    {
        if (!format) {
            Refuse(source.Name, u"it is no question bank; it seems to be %1"_s.arg(Bank::KindOf(source)));
            return;
        }
        m_assembler.Begin(source.Name);
        const size_t before = m_assembler.Fates.size();
        try {
            Counter counter(*this, source.Name);
            format->Read(source, m_options.Reading, counter);
        } catch (const Error &error) {
            // A full disk is no fault of the bank.
            if (error.Number() != InvalidCall)
                throw;
            const bool isPartOnly = m_assembler.Fates.size() > before;
            m_assembler.Refuse(Console::OneLine(error) + (isPartOnly ? u"; what stands behind it is not read"_s : QString()));
        }
    }

    // A file that is no bank. An archive may hold very many.
    void Refuse(const QString &name, const QString &reason)
    {
        if (++m_refused > MostRefusedFiles)
            return;
        m_assembler.Begin(name);
        m_assembler.Refuse(reason);
    }

    void RefuseRest(const QString &path)
    {
        if (m_refused > MostRefusedFiles) {
            m_assembler.Begin(path);
            m_assembler.Refuse(u"%1 more of its files are no question banks"_s.arg(m_refused - MostRefusedFiles));
        }
        m_refused = 0;
    }

    // One for each variant.
    QStringList Outs() const
    {
        QStringList outs;
        for (int variant = 0; variant < m_options.Variants; ++variant)
            outs.append(QDir::cleanPath(m_options.Out) + SuffixOf(variant));
        return outs.isEmpty() ? QStringList(m_options.Out) : outs;
    }

    static QString SuffixOf(int variant) { return u"-"_s + QChar(u'A' + variant); }

    void CompleteHeader()
    {
        Package::Header &header = m_options.Header;
        if (header.Code.isEmpty())
            header.Code = Sources::BaseName(m_options.Sources.first());
        if (header.Name.isEmpty())
            header.Name = m_assembler.Name.isEmpty() ? header.Code : m_assembler.Name;
        if (!m_options.HasSeed)
            m_options.Seed = QRandomGenerator::system()->generate();
    }

    // Whether packages were made.
    bool Make()
    {
        m_isRefused = m_options.IsStrict
            && std::any_of(m_assembler.Fates.begin(), m_assembler.Fates.end(), [this](const Draft::Fate &fate) {
                          return !fate.Reason.isEmpty()
                              && (fate.Category.isEmpty() || Selection::IsWanted(fate.Category, m_options.Choice));
                      });
        if (m_assembler.Items.empty() || m_isRefused)
            return false;
        for (Draft::Fate &fate : m_assembler.Fates)
            fate.IsChosen = false;
        const QStringList outs = Outs();
        for (int variant = 0; variant < outs.size(); ++variant) {
            std::vector<Draft::Item> items;
            try {
                items = Selection::Choose(m_assembler.Items, m_options.Choice, m_options.Seed, variant);
            } catch (const Error &error) {
                Console::Complain(Console::OneLine(error));
                return false;
            }
            if (!MakeOne(outs.at(variant), variant, std::move(items)))
                return false;
        }
        return true;
    }

    bool MakeOne(const QString &out, int variant, std::vector<Draft::Item> items)
    {
        for (size_t i = Limits::MostItems; i < items.size(); ++i)
            m_assembler.Fates[items[i].Fate].Reason = Assembler::Full();
        items.resize(std::min(items.size(), static_cast<size_t>(Limits::MostItems)));
        ReportFull();
        if (items.empty() || m_isRefused)
            return false;
        for (const Draft::Item &item : items)
            m_assembler.Fates[item.Fate].IsChosen = true;
        Package::Header header = m_options.Header;
        if (m_options.Variants > 0)
            header.Code += SuffixOf(variant);
        if (header.Minutes == 0)
            header.Minutes = static_cast<qint16>(
                std::clamp<double>(std::ceil(static_cast<double>(items.size()) * MinutesOfAnItem), 1, Limits::MostMinutes));
        const auto exam = Package::Compose(items, header, m_options.Assembling.CodePage);
        if (const QString warning = Package::Write(*exam, m_exhibits, out, m_options.Replaces); !warning.isEmpty())
            Console::Complain(Console::OneLine(warning));
        const auto unshuffled = std::count_if(items.begin(), items.end(), [](const auto &item) { return item.KeepsOrder; });
        m_made.push_back({ out, exam->Questions().Count(), exam->CodePage(), unshuffled });
        return true;
    }

    void ReportFull()
    {
        const auto full = std::count_if(m_assembler.Fates.begin(), m_assembler.Fates.end(),
                                        [](const auto &fate) { return fate.Reason == Assembler::Full(); });
        if (full > 0)
            m_assembler.Report(
                u"an exam holds no more than %1 items: the last %2 are left out"_s.arg(Limits::MostItems).arg(full));
        m_isRefused = m_isRefused || (m_options.IsStrict && full > 0);
    }

    qint64 LeftOut() const
    {
        return std::count_if(m_assembler.Fates.begin(), m_assembler.Fates.end(),
                             [](const auto &fate) { return !fate.Reason.isEmpty(); });
    }

    void WriteReport() const
    {
        if (m_options.Report.isEmpty())
            return;
        const bool isHtml = m_options.Report.endsWith(".html"_L1, Qt::CaseInsensitive);
        const QByteArray bytes
            = isHtml ? BuildReport::ToHtml(m_assembler.Fates, m_options.Header.Name) : BuildReport::ToJson(m_assembler.Fates);
        QSaveFile file(m_options.Report);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
            throw Error(InvalidCall, u"%1: %2"_s.arg(m_options.Report, file.errorString()), u"Command::Build()"_s);
    }

    void Summarise(bool isMade) const
    {
        const auto taken = std::count_if(m_assembler.Fates.begin(), m_assembler.Fates.end(),
                                         [](const auto &fate) { return fate.Reason.isEmpty() && fate.IsChosen; });
        const auto notChosen = static_cast<qint64>(m_assembler.Fates.size()) - LeftOut() - taken;
        QString line = u"%1 taken, %2 left out"_s.arg(Counted(taken, u"item"_s)).arg(LeftOut());
        if (notChosen > 0)
            line += u", %1 not chosen"_s.arg(notChosen);
        if (m_assembler.Warnings > 0)
            line += u", "_s + Counted(m_assembler.Warnings, u"warning"_s);
        if (m_isRefused)
            line += u", nothing made (--strict)"_s;
        Console::Complain(line);
        if (m_assembler.Fates.empty())
            Console::Complain(u"  There are no questions in it"_s);
        for (const QString &reason : BuildReport::ReasonLines(m_assembler.Fates, MostReasons))
            Console::Complain(u"  "_s + Console::OneLine(reason));
        if (!isMade)
            return;
        for (const Made &made : m_made) {
            QString said = u"%1: %2, texts in %3"_s.arg(made.Out, Counted(made.Items, u"item"_s),
                                                        made.CodePage == 0 ? u"ASCII"_s : TextPage::NameOf(made.CodePage));
            if (made.Unshuffled > 0)
                said += u", options in the bank's order in %1, because a text may name them"_s.arg(made.Unshuffled);
            Console::Complain(Console::OneLine(said));
        }
        if (m_options.Choice.IsByChance() && !m_options.HasSeed)
            Console::Complain(u"Drawn with --seed %1"_s.arg(m_options.Seed));
        Console::Complain(Console::OneLine(
            u"Next: practorium-author pack %1 --out %2"_s.arg(Shell(m_made.front().Out),
                                                              Shell(Sources::BaseName(m_made.front().Out) + u".exe"_s))));
    }

    // A path as a shell takes it.
    static QString Shell(const QString &path)
    {
        const bool isPlain
            = std::all_of(path.begin(), path.end(), [](QChar c) { return c.isLetterOrNumber() || u"-_./:\\"_s.contains(c); });
        return isPlain ? path : u'\'' + QString(path).replace(u'\'', "'\\''"_L1) + u'\'';
    }

    BuildOptions m_options;
    Exhibits m_exhibits;
    Assembler m_assembler;
    Console::Progress m_progress;
    int m_refused = 0; // files of the SOURCE that are no banks
    bool m_isRefused = false;
    std::vector<Made> m_made;
};

}

int Command::Build(const QStringList &arguments)
{
    QCommandLineParser parser;
    BuildOptions::Describe(parser);
    if (const auto code = Parse(parser, arguments, BuildOptions::Notes()))
        return *code;
    BuildOptions options;
    if (const QString fault = options.Read(parser); !fault.isEmpty())
        return Misused(fault);
    return Builder(std::move(options)).Execute();
}
