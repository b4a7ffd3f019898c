// SPDX-License-Identifier: Apache-2.0
#include "author/Assembler.h"

#include "author/Limits.h"
#include "author/TextPage.h"
#include "common/Error.h"
#include "console/Console.h"
#include "markup/Characters.h"
#include "markup/OptionLetters.h"
#include "markup/Readable.h"
#include "model/ExamFormat.h"
#include "model/Globals.h"

#include <QUrl>

using namespace Qt::Literals::StringLiterals;

namespace {

// Thrown for an item that cannot become part of an exam.
struct LeftOutBecause {
    QString Reason;
};

struct Picture {
    QByteArray Bytes;
    QString Name;
};

QString LetterOf(size_t index)
{
    return Globals::OptionLetter(static_cast<qint16>(index + 1));
}

void RequireNoControl(const QString &text)
{
    if (const QString control = TextPage::ControlCharacter(text); !control.isEmpty())
        throw LeftOutBecause{ u"it holds the control character %1"_s.arg(control) };
    if (text.contains(QChar(QChar::ReplacementCharacter)))
        throw LeftOutBecause{ u"it holds bytes that are not UTF-8, or the character U+FFFD"_s };
}

// The content of a "data:" address.
std::optional<QByteArray> DataOf(const QString &address)
{
    const qsizetype comma = address.indexOf(u',');
    if (comma < 0)
        return {};
    const QByteArray data = QByteArray::fromPercentEncoding(address.mid(comma + 1).toLatin1());
    return address.left(comma).endsWith(";base64"_L1, Qt::CaseInsensitive) ? QByteArray::fromBase64(data) : data;
}

// Passes on what is no fault of a picture, such as a full disk.
void RequirePictureFault(const Error &error)
{
    if (error.Number() != InvalidCall)
        throw error;
}

// What makes two texts the same for whoever reads them.
QString Readably(const QString &text)
{
    return Characters::Fit(text, [](char32_t character) { return !Characters::IsSoft(character); }).simplified();
}

}

// One item on its way to a draft.
class Assembler::Builder {
public:
    Builder(const Settings &settings, Exhibits &exhibits, const Bank::Item &item, QStringList &warnings)
        : m_settings(settings)
        , m_exhibits(exhibits)
        , m_item(item)
        , m_warnings(warnings)
    {
    }

    Draft::Item Build()
    {
        if (!m_item.Refusal.isEmpty())
            throw LeftOutBecause{ m_item.Refusal };
        const size_t count = m_item.Options.size();
        if (count < Limits::FewestOptions)
            throw LeftOutBecause{ u"it has fewer than %1 options"_s.arg(Limits::FewestOptions) };
        if (count > Limits::MostOptions)
            throw LeftOutBecause{ u"it has %1 options, and an exam has letters for %2"_s.arg(count).arg(Limits::MostOptions) };
        BuildStem();
        BuildOptions();
        RequireKey();
        m_draft.Feedback = WithoutPictures(m_item.Feedback, u"the explanation"_s);
        m_draft.Category = m_item.Category;
        m_draft.IsLimited = m_item.IsMultiple && !m_item.IsUnlimited;
        if (Length() > ExamFormat::MostItemCharacters)
            throw LeftOutBecause{ u"it has more than %1 characters"_s.arg(ExamFormat::MostItemCharacters) };
        return std::move(m_draft);
    }

private:
    void BuildStem()
    {
        const Markup::Readable passage = Read(m_item.Passage);
        const Markup::Readable stem = Read(m_item.Problem);
        std::vector<Picture> pictures;
        if (m_item.Exhibit)
            pictures.push_back(NamedExhibit(*m_item.Exhibit));
        AddPictures(pictures, passage);
        AddPictures(pictures, stem);
        const bool areShown = !pictures.empty();
        QStringList parts = { Spelled(passage, areShown), Spelled(stem, areShown) };
        if (parts.last().isEmpty() && !(areShown && !stem.Pictures.empty()))
            throw LeftOutBecause{ u"it has no question text"_s };
        parts.removeAll(QString());
        m_draft.Stem = parts.isEmpty() ? u"[picture]"_s : parts.join(u"\n\n"_s);
        if (areShown)
            m_draft.Exhibit = ExhibitOf(pictures);
    }

    void BuildOptions()
    {
        QStringList statements;
        for (const Bank::Option &option : m_item.Options) {
            const QString what = u"option "_s + LetterOf(m_draft.Options.size());
            statements.append(WithoutPictures(option.Statement, what));
            if (statements.last().isEmpty())
                throw LeftOutBecause{ u"option %1 is empty"_s.arg(statements.size()) };
            m_draft.Options.push_back(
                { {}, WithoutPictures(option.Feedback, u"the feedback on "_s + what), option.IsRight, option.IsFixed });
        }
        if (!m_settings.KeepsLetters)
            OptionLetters::Remove(statements);
        for (size_t i = 0; i < m_draft.Options.size(); ++i)
            m_draft.Options[i].Statement = statements.at(static_cast<qsizetype>(i));
    }

    // At least one option is right, and none reads like one that is wrong.
    void RequireKey()
    {
        QHash<QString, size_t> first;
        size_t right = 0;
        bool isWarned = false;
        for (size_t i = 0; i < m_draft.Options.size(); ++i) {
            const Draft::Option &option = m_draft.Options[i];
            right += option.IsRight ? 1 : 0;
            const QString text = Readably(option.Statement);
            const auto same = first.constFind(text);
            if (same == first.constEnd()) {
                first.insert(text, i);
                continue;
            }
            const QString pair = u"options %1 and %2 read the same"_s.arg(LetterOf(*same), LetterOf(i));
            if (m_draft.Options[*same].IsRight != option.IsRight)
                throw LeftOutBecause{ pair + u", and one of them is right"_s };
            if (!isWarned)
                m_warnings.append(pair);
            isWarned = true;
        }
        if (right == 0)
            throw LeftOutBecause{ u"no option is right"_s };
    }

    Markup::Readable Read(const Markup::Text &text)
    {
        // Before and after: rendering may drop one, or produce one from an entity.
        RequireNoControl(text.Source);
        Markup::Readable readable = Markup::Read(text);
        RequireNoControl(readable.Text);
        m_warnings += readable.Warnings;
        return readable;
    }

    QString Spelled(const Markup::Readable &readable, bool arePicturesShown) const
    {
        QString text = Characters::Clean(Markup::Spelled(readable, arePicturesShown)).normalized(QString::NormalizationForm_C);
        if (m_settings.IsAscii)
            text = Characters::Ascii(text);
        if (m_settings.CodePage == 0)
            return text;
        text = TextPage::Fitted(text, m_settings.CodePage);
        if (const QString lacking = TextPage::Lacking(text, m_settings.CodePage); !lacking.isEmpty())
            throw LeftOutBecause{ u"the character %1 is not in %2"_s.arg(lacking, TextPage::NameOf(m_settings.CodePage)) };
        return text;
    }

    // A text beside which no picture can be shown.
    QString WithoutPictures(const Markup::Text &text, const QString &what)
    {
        const Markup::Readable readable = Read(text);
        if (!readable.Pictures.empty())
            Lose(u"a picture in %1 cannot be shown"_s.arg(what));
        return Spelled(readable, false);
    }

    void Lose(const QString &what)
    {
        if (m_settings.NeedsPictures)
            throw LeftOutBecause{ what };
        m_warnings.append(what);
    }

    Picture NamedExhibit(const QString &name) const
    {
        RequireNoControl(name);
        const std::optional<QByteArray> bytes = FileOf(name);
        if (!bytes)
            throw LeftOutBecause{ u"the exhibit %1 is not there"_s.arg(Console::Quoted(name)) };
        return { *bytes, name };
    }

    void AddPictures(std::vector<Picture> &pictures, const Markup::Readable &readable)
    {
        for (const Markup::Picture &each : readable.Pictures) {
            const bool isData = each.Source.startsWith("data:"_L1, Qt::CaseInsensitive);
            const auto bytes = isData ? DataOf(each.Source) : FileOf(each.Source);
            const QString name = isData ? QString() : QUrl(each.Source).fileName(QUrl::FullyDecoded);
            if (!bytes)
                Lose(u"the picture %1 is not there"_s.arg(Console::Quoted(each.Source)));
            else if (const QString fault = FaultOf(*bytes, name); !fault.isEmpty())
                Lose(u"the picture %1: %2"_s.arg(Console::Quoted(name), fault));
            else
                pictures.push_back({ *bytes, name });
        }
    }

    QString FaultOf(const QByteArray &bytes, const QString &name)
    {
        try {
            m_exhibits.Add(bytes, name);
            return {};
        } catch (const Error &error) {
            RequirePictureFault(error);
            return Console::OneLine(error);
        }
    }

    // The content of a file that the source refers to.
    std::optional<QByteArray> FileOf(const QString &reference) const
    {
        try {
            const QString path = Bank::RelativePath(reference);
            if (path.isEmpty())
                return {};
            std::optional<QByteArray> bytes;
            if (m_settings.Pictures)
                bytes = m_settings.Pictures->Read(path);
            if (m_settings.Pictures && !bytes)
                bytes = m_settings.Pictures->Read(path.section(u'/', -1));
            return bytes || !m_item.Files ? bytes : m_item.Files->Read(path);
        } catch (const Error &error) {
            throw LeftOutBecause{ u"the picture %1: %2"_s.arg(Console::Quoted(reference), Console::OneLine(error)) };
        }
    }

    QString ExhibitOf(const std::vector<Picture> &pictures)
    {
        try {
            if (pictures.size() == 1)
                return m_exhibits.Add(pictures.front().Bytes, pictures.front().Name, &m_warnings);
            std::vector<QByteArray> files;
            files.reserve(pictures.size());
            for (const Picture &each : pictures)
                files.push_back(each.Bytes);
            return m_exhibits.Join(files, pictures.front().Name, &m_warnings);
        } catch (const Error &error) {
            RequirePictureFault(error);
            throw LeftOutBecause{ u"the exhibit %1: %2"_s.arg(Console::Quoted(pictures.front().Name),
                                                              Console::OneLine(error)) };
        }
    }

    qsizetype Length() const
    {
        // Of a feedback on an option also its letter and the line break.
        constexpr qsizetype besideFeedback = 4;
        qsizetype count = m_draft.Stem.size() + m_draft.Feedback.size();
        for (const Draft::Option &option : m_draft.Options)
            count += option.Statement.size() + (option.Feedback.isEmpty() ? 0 : option.Feedback.size() + besideFeedback);
        return count;
    }

    const Settings &m_settings;
    Exhibits &m_exhibits;
    const Bank::Item &m_item;
    QStringList &m_warnings;
    Draft::Item m_draft;
};

Assembler::Assembler(Settings settings, Exhibits &exhibits)
    : m_settings(std::move(settings))
    , m_exhibits(exhibits)
{
}

void Assembler::Begin(const QString &source)
{
    m_source = source;
}

void Assembler::Add(Bank::Item &&item)
{
    Draft::Fate fate;
    fate.Place = m_source + (item.Entry.isEmpty() ? QString() : u'/' + item.Entry) + u':' + QString::number(item.Line);
    fate.Title = item.Title;
    fate.Category = item.Category;
    fate.Warnings = item.Warnings;
    if (m_settings.Room && Items.size() >= *m_settings.Room && item.Refusal.isEmpty()) {
        fate.Reason = Full();
        fate.Warnings.clear();
        Fates.push_back(std::move(fate));
        return;
    }
    try {
        Draft::Item draft = Builder(m_settings, m_exhibits, item, fate.Warnings).Build();
        draft.Fate = Fates.size();
        Items.push_back(std::move(draft));
    } catch (const LeftOutBecause &cause) {
        fate.Reason = cause.Reason;
        fate.Warnings.clear();
    }
    const auto say = [&](const QString &text) {
        if (Report)
            Report(Console::OneLine(fate.Place + u": "_s + text));
    };
    if (!fate.Reason.isEmpty())
        say(fate.Reason);
    for (const QString &warning : fate.Warnings)
        say(u"warning: "_s + warning);
    Warnings += static_cast<int>(fate.Warnings.size());
    Fates.push_back(std::move(fate));
}

void Assembler::SetName(const QString &name)
{
    if (Name.isEmpty())
        Name = name.simplified();
}

void Assembler::Warn(int line, const QString &text)
{
    ++Warnings;
    if (Report)
        Report(Console::OneLine(m_source + (line > 0 ? u":%1"_s.arg(line) : QString()) + u": warning: "_s + text));
}

void Assembler::Refuse(const QString &reason)
{
    Fates.push_back({ m_source, {}, {}, reason, {} });
    if (Report)
        Report(Console::OneLine(m_source + u": "_s + reason));
}
