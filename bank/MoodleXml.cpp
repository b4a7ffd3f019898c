// SPDX-License-Identifier: Apache-2.0
#include "bank/MoodleXml.h"

#include "bank/Category.h"
#include "bank/EmbeddedFiles.h"
#include "bank/Passage.h"
#include "bank/Xml.h"

#include <QUrl>

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace MoodleXml {

namespace {

constexpr double FullCredit = 100;
// An option takes far more memory than the element it is written as.
constexpr size_t MostOptions = 1000;
// Characters of an unknown type.
constexpr qsizetype MostShown = 60;

// Where the files of a text are, in its references to them.
constexpr QStringView FileMark = u"@@PLUGINFILE@@/";

// Why a question of another type is no item; empty for those that are.
QString RefusalOf(const QString &type)
{
    static const std::pair<QLatin1StringView, QString> types[] = {
        { "multichoice"_L1, {} },
        { "truefalse"_L1, {} },
        { "matching"_L1, u"a matching question has no options"_s },
        { "shortanswer"_L1, u"a short-answer question has no options"_s },
        { "numerical"_L1, u"a numerical question has no options"_s },
        { "essay"_L1, u"an essay question has no options"_s },
        { "calculated"_L1, u"a calculated question has no options"_s },
        { "calculatedsimple"_L1, u"a calculated question has no options"_s },
        { "calculatedmulti"_L1, u"a calculated question has other options each time"_s },
        { "cloze"_L1, u"an embedded-answers question (Cloze) has its options inside the text"_s },
        { "multianswer"_L1, u"an embedded-answers question (Cloze) has its options inside the text"_s },
        { "gapselect"_L1, u"a missing-words question has its options inside the text"_s },
        { "ddwtos"_L1, u"a drag-and-drop question has no options"_s },
        { "ddmarker"_L1, u"a drag-and-drop question has no options"_s },
        { "ddimageortext"_L1, u"a drag-and-drop question has no options"_s },
        { "ordering"_L1, u"an ordering question has no options"_s },
        { "random"_L1, u"a random question stands for others"_s },
        { "randomsamatch"_L1, u"a matching question has no options"_s },
        { "description"_L1, u"a description without answers is no question"_s },
    };
    for (const auto &[name, refusal] : types) {
        if (type == name)
            return refusal;
    }
    return type.isEmpty() ? u"a question without a type"_s
                          : u"a question of the type \"%1\" is not known"_s.arg(type.left(MostShown).simplified());
}

// Of the attribute "format"; the fallback where it says nothing known.
Markup::Kind KindOf(const QString &format, Markup::Kind fallback)
{
    static const std::pair<QLatin1StringView, Markup::Kind> formats[] = {
        { "html"_L1, Markup::Kind::Html },          { "moodle_auto_format"_L1, Markup::Kind::Moodle },
        { "plain_text"_L1, Markup::Kind::Plain },   { "markdown"_L1, Markup::Kind::Markdown },
        { "wiki_like"_L1, Markup::Kind::Markdown },
    };
    for (const auto &[name, kind] : formats) {
        if (format == name)
            return kind;
    }
    return fallback;
}

bool IsTrue(const QString &text)
{
    const QString word = text.trimmed();
    return word == "1"_L1 || word.compare("true"_L1, Qt::CaseInsensitive) == 0;
}

// A "<file>" of a text.
struct File {
    QString Path;
    QByteArray Base64;
};

// What is not in the item before its last part has been read.
struct Parts {
    std::vector<double> Fractions; // of the options
    bool IsFixed = false;
    bool HasTooMany = false; // options
    QString Image; // the one picture of a question, as Moodle 1 wrote it
};

class Reader {
public:
    Reader(const Bank::Source &source, const Bank::Options &options, Bank::Receiver &receiver)
        : m_source(source)
        , m_options(options)
        , m_receiver(receiver)
        , m_xml(source.Bytes, source.Name, source.Encoding)
        , m_passage(receiver)
    {
    }

    void Read()
    {
        m_xml.NextChild();
        if (m_xml.Name() != u"quiz")
            m_xml.Fail(u"the root is the element \"%1\" and not \"quiz\""_s.arg(m_xml.Name()));
        while (m_xml.NextChild()) {
            if (m_xml.Name() == u"question")
                ReadQuestion(m_xml.Attribute("type"_L1));
            else
                m_xml.Skip();
        }
        EndPassage();
        m_xml.Finish();
    }

private:
    void ReadQuestion(const QString &type)
    {
        if (type == "category"_L1) {
            ReadCategory();
            return;
        }
        Bank::Item item;
        item.Line = m_xml.Line();
        item.Category = m_category;
        if (type == "description"_L1 && m_options.HasPassages) {
            ReadPassage(item);
            return;
        }
        item.Refusal = RefusalOf(type);
        if (item.Refusal.isEmpty())
            ReadItem(item, type == "truefalse"_L1);
        else
            ReadTitle(item);
        m_passage.Give(item);
        m_isPassagePending = false;
        m_receiver.Add(std::move(item));
    }

    void ReadCategory()
    {
        EndPassage();
        while (m_xml.NextChild()) {
            if (m_xml.Name() != u"category") {
                m_xml.Skip();
                continue;
            }
            const QStringList parts = Bank::CategoryParts(m_xml.Text());
            m_category = parts.join(u'/');
            if (!std::exchange(m_hasCategory, true))
                m_receiver.SetName(Bank::NameOfCategory(parts));
        }
    }

    void ReadPassage(Bank::Item &item)
    {
        // Descriptions that follow one another are one passage.
        m_files = m_isPassagePending ? m_passageFiles : nullptr;
        // The items have files of the same names.
        m_prefix = u"passage/"_s;
        m_passageFiles.reset();
        ReadParts(item);
        m_prefix.clear();
        m_passageFiles = std::move(m_files);
        m_passage.Take(item.Line, item.Problem);
        m_isPassagePending = true;
    }

    void EndPassage()
    {
        m_passage.End();
        m_passageFiles.reset();
        m_isPassagePending = false;
    }

    // Of a question that is no item.
    void ReadTitle(Bank::Item &item)
    {
        while (m_xml.NextChild()) {
            if (m_xml.Name() == u"name")
                item.Title = m_xml.Text().trimmed();
            else
                m_xml.Skip();
        }
    }

    void ReadItem(Bank::Item &item, bool isTrueFalse)
    {
        m_files.reset();
        const Parts parts = ReadParts(item);
        item.Files = m_files ? m_files : m_passageFiles ? m_passageFiles : m_source.Files;
        item.Refusal = parts.HasTooMany ? u"it has more than %1 options"_s.arg(MostOptions)
            : isTrueFalse               ? FinishTrueFalse(item, parts)
                                        : FinishChoice(item, parts);
    }

    Parts ReadParts(Bank::Item &item)
    {
        Parts parts;
        // As Moodle takes a text without a format.
        item.Problem.Kind = Markup::Kind::Html;
        while (m_xml.NextChild()) {
            const QStringView name = m_xml.Name();
            if (name == u"answer")
                ReadAnswer(item, parts);
            else if (name == u"name")
                item.Title = m_xml.Text().trimmed();
            else if (name == u"questiontext")
                item.Problem = ReadText(Markup::Kind::Html);
            else if (name == u"generalfeedback")
                item.Feedback = ReadText(item.Problem.Kind);
            else if (name == u"single")
                item.IsMultiple = !IsTrue(m_xml.Text());
            else if (name == u"shuffleanswers")
                parts.IsFixed = !IsTrue(m_xml.Text());
            else if (name == u"image")
                parts.Image = m_xml.Text().trimmed();
            else if (name == u"image_base64")
                EmbedImage(parts.Image);
            else if (name == u"hint" || name == u"incorrectfeedback" || name == u"partiallycorrectfeedback")
                PassOver();
            else
                m_xml.Skip();
        }
        if (!parts.Image.isEmpty())
            AppendImage(item.Problem, parts.Image);
        return parts;
    }

    // What says something of the answer as a whole. Every question of an export has
    // some, so that the bank is warned of once.
    void PassOver()
    {
        const int line = m_xml.Line();
        const bool hasText = !ReadText(Markup::Kind::Html).Source.isEmpty();
        if (hasText && !std::exchange(m_hasPassedOver, true))
            m_receiver.Warn(line, u"hints, and feedback on an answer as a whole, are left out here and below"_s);
    }

    void ReadAnswer(Bank::Item &item, Parts &parts)
    {
        if (item.Options.size() == MostOptions) {
            parts.HasTooMany = true;
            m_xml.Skip();
            return;
        }
        parts.Fractions.push_back(m_xml.Attribute("fraction"_L1).replace(u',', u'.').toDouble());
        Bank::Option option;
        option.Statement = ReadText(item.Problem.Kind, &option.Feedback);
        item.Options.push_back(std::move(option));
    }

    // The text in the current element; the feedback in it, too, if that is wanted.
    Markup::Text ReadText(Markup::Kind fallback, Markup::Text *feedback = nullptr)
    {
        Markup::Text text;
        text.Kind = KindOf(m_xml.Attribute("format"_L1), fallback);
        std::vector<File> files;
        while (m_xml.NextChild()) {
            if (m_xml.Name() == u"text")
                ReadSource(text);
            else if (m_xml.Name() == u"file")
                ReadFile(files);
            else if (feedback && m_xml.Name() == u"feedback")
                *feedback = ReadText(fallback);
            else
                m_xml.Skip();
        }
        if (!files.empty() || (text.Source.contains(u'@') && text.Source.contains(FileMark)))
            text.Source.replace(FileMark.toString(), Embed(files));
        return text;
    }

    void ReadSource(Markup::Text &text)
    {
        bool isMarkup = false;
        text.Source = m_xml.TextOrMarkup(isMarkup).trimmed();
        if (isMarkup)
            text.Kind = Markup::Kind::Html;
    }

    void ReadFile(std::vector<File> &files)
    {
        QString path = m_xml.Attribute("path"_L1) + m_xml.Attribute("name"_L1);
        while (path.startsWith(u'/'))
            path.remove(0, 1);
        const bool isBase64 = m_xml.Attribute("encoding"_L1) == "base64"_L1;
        const QByteArray content = m_xml.Text().toUtf8();
        files.push_back({ path, isBase64 ? content : content.toBase64() });
    }

    // Embeds the files of one text. Returns what their paths are preceded by: those of
    // another text can have the same names.
    QString Embed(const std::vector<File> &files)
    {
        QString prefix = m_prefix;
        if (files.empty())
            return prefix;
        const auto hasRoom = [&](const File &file) { return m_files->HasRoomFor(prefix + file.Path, file.Base64); };
        RequireFiles();
        while (!std::all_of(files.begin(), files.end(), hasRoom))
            prefix = m_prefix + QString::number(++m_prefixes) + u'/';
        for (const File &file : files)
            m_files->Add(prefix + file.Path, file.Base64);
        return prefix;
    }

    void RequireFiles()
    {
        if (!m_files)
            m_files = std::make_shared<Bank::EmbeddedFiles>(m_passageFiles ? m_passageFiles : m_source.Files);
    }

    void EmbedImage(const QString &path)
    {
        RequireFiles();
        m_files->Add(path, m_xml.Text().toLatin1());
    }

    static void AppendImage(Markup::Text &text, const QString &path)
    {
        if (text.Kind == Markup::Kind::Plain)
            text = { text.Source.toHtmlEscaped(), Markup::Kind::Moodle };
        const QString reference = QString::fromLatin1(QUrl::toPercentEncoding(path, "/"));
        text.Source += u"<br><img src=\"%1\">"_s.arg(reference);
    }

    static QString FinishChoice(Bank::Item &item, const Parts &parts)
    {
        if (item.Options.empty())
            return u"it has no options"_s;
        int right = 0;
        for (size_t i = 0; i < item.Options.size(); ++i) {
            const double fraction = parts.Fractions[i];
            item.Options[i].IsRight = item.IsMultiple ? fraction > 0 : fraction >= FullCredit;
            item.Options[i].IsFixed = parts.IsFixed;
            right += item.Options[i].IsRight ? 1 : 0;
        }
        // An item has exactly one key.
        return !item.IsMultiple && right > 1 ? u"several answers are right alone"_s : QString();
    }

    QString FinishTrueFalse(Bank::Item &item, const Parts &parts) const
    {
        const auto given = std::exchange(item.Options,
                                         { { { m_options.True, Markup::Kind::Plain }, {} },
                                           { { m_options.False, Markup::Kind::Plain }, {} } });
        double fractions[2] = {};
        for (size_t i = 0; i < given.size(); ++i) {
            const QString &word = given[i].Statement.Source;
            const bool isFalse = word.compare("false"_L1, Qt::CaseInsensitive) == 0;
            if (!isFalse && word.compare("true"_L1, Qt::CaseInsensitive) != 0)
                return u"its answers are not \"true\" and \"false\""_s;
            fractions[isFalse ? 1 : 0] = parts.Fractions[i];
            item.Options[isFalse ? 1 : 0].Feedback = given[i].Feedback;
        }
        item.IsMultiple = false;
        item.Options[0].IsRight = fractions[0] > fractions[1];
        item.Options[1].IsRight = fractions[1] > fractions[0];
        return {};
    }

    const Bank::Source &m_source;
    const Bank::Options &m_options;
    Bank::Receiver &m_receiver;
    Xml::Reader m_xml;
    QString m_category;
    bool m_hasCategory = false;
    bool m_hasPassedOver = false;
    // Of the question that is read; null while it has none.
    std::shared_ptr<Bank::EmbeddedFiles> m_files;
    QString m_prefix; // of the paths in them
    qint64 m_prefixes = 0;
    Bank::Passage m_passage;
    std::shared_ptr<Bank::EmbeddedFiles> m_passageFiles; // null for none
    bool m_isPassagePending = false; // no item stands behind it yet
};

}

bool Suits(const Bank::Source &source)
{
    const auto beginning = Xml::BeginningOf(source.Bytes);
    return beginning && beginning->Root == "quiz"_L1 && (beginning->Child.isEmpty() || beginning->Child == "question"_L1);
}

void Read(const Bank::Source &source, const Bank::Options &options, Bank::Receiver &receiver)
{
    Reader(source, options, receiver).Read();
}

}
