// SPDX-License-Identifier: Apache-2.0
#include "bank/H5p.h"

#include "bank/Archive.h"
#include "bank/Passage.h"
#include "common/Error.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::Literals::StringLiterals;

namespace H5p {

namespace {

// In memory a document takes up to 80 times its bytes.
constexpr qsizetype MostJsonBytes = 5 << 20;
// Of objects and arrays within each other.
constexpr int MostDepth = 64;

struct Content {
    QString Library; // without its version, such as "H5P.MultiChoice"
    QJsonObject Params;
    QString Title;
};

Markup::Text Html(const QJsonValue &value)
{
    return { value.toString().trimmed(), Markup::Kind::Html };
}

// A text of the editor in which nothing stands.
bool IsBlank(const QJsonValue &value)
{
    return value.toString().trimmed().isEmpty();
}

// Why a content that is asked is none to choose from; empty when it is no question.
QString RefusalOf(const QString &library)
{
    static const std::pair<QLatin1StringView, QLatin1StringView> refusals[] = {
        { "H5P.Essay"_L1, "an essay question has no options"_L1 },
        { "H5P.Blanks"_L1, "a fill-in-the-blanks question has no options"_L1 },
        { "H5P.AdvancedBlanks"_L1, "a fill-in-the-blanks question has no options"_L1 },
        { "H5P.DragQuestion"_L1, "a drag-and-drop question has no options"_L1 },
        { "H5P.DragText"_L1, "a drag-and-drop question has no options"_L1 },
        { "H5P.ImagePair"_L1, "a matching question has no options"_L1 },
        { "H5P.MarkTheWords"_L1, "a question of marking words has no options"_L1 },
        { "H5P.SortParagraphs"_L1, "an ordering question has no options"_L1 },
        { "H5P.ImageSequencing"_L1, "an ordering question has no options"_L1 },
        { "H5P.ArithmeticQuiz"_L1, "a generated quiz has no options"_L1 },
        { "H5P.GuessTheAnswer"_L1, "a short-answer question has no options"_L1 },
        { "H5P.Flashcards"_L1, "a short-answer question has no options"_L1 },
        { "H5P.Dictation"_L1, "a short-answer question has no options"_L1 },
        { "H5P.SpeakTheWords"_L1, "a spoken answer has no options"_L1 },
        { "H5P.MultiMediaChoice"_L1, "the options are pictures"_L1 },
        { "H5P.Summary"_L1, "a summary is no single question"_L1 },
        { "H5P.ImageHotspotQuestion"_L1, "a hotspot question has no options"_L1 },
        { "H5P.ImageMultipleHotspotQuestion"_L1, "a hotspot question has no options"_L1 },
        { "H5P.Questionnaire"_L1, "a survey has no right answers"_L1 },
        { "H5P.OpenEndedQuestion"_L1, "an essay question has no options"_L1 },
        { "H5P.SimpleMultiChoice"_L1, "a survey has no right answers"_L1 },
        { "H5P.Text"_L1, "a description without answers is no question"_L1 },
        { "H5P.AdvancedText"_L1, "a description without answers is no question"_L1 },
    };
    const auto found
        = std::find_if(std::begin(refusals), std::end(refusals), [&](const auto &row) { return row.first == library; });
    return found == std::end(refusals) ? QString() : QString(found->second);
}

// Whether a content has no questions of its own, only contents.
bool IsContainer(const QString &library)
{
    static const QStringList libraries = { u"H5P.QuestionSet"_s,
                                           u"H5P.Column"_s,
                                           u"H5P.Row"_s,
                                           u"H5P.RowColumn"_s,
                                           u"H5P.InteractiveBook"_s,
                                           u"H5P.CoursePresentation"_s,
                                           u"H5P.InteractiveVideo"_s,
                                           u"H5P.BranchingScenario"_s,
                                           u"H5P.Accordion"_s };
    return libraries.contains(library);
}

class Reader {
public:
    Reader(const Bank::Source &source, const QString &folder, const Bank::Options &options, Bank::Receiver &receiver)
        : m_files(std::make_shared<Bank::FilesBelow>(source.Files, folder.isEmpty() ? u"content"_s : folder + u"/content"_s))
        , m_options(options)
        , m_receiver(receiver)
        , m_passage(receiver)
    {
    }

    void ReadAll(const Content &content)
    {
        Read(content, 0);
        m_passage.End();
    }

private:
    void Read(const Content &content, int depth);
    void ReadNested(const QJsonValue &value, int depth);
    bool ReadKnown(const Content &content);
    void ReadOther(const Content &content, int depth);
    void ReadChoice(const Content &content);
    void ReadTrueFalse(const Content &content);
    void ReadChoiceSet(const Content &content);
    void Refuse(const Content &content, const QString &refusal);
    Bank::Item Begin(const Content &content);
    void Add(Bank::Item &&item);
    void AddMedia(Bank::Item &item, const QJsonObject &params) const;
    QString OptionText(const QString &own, const QString &standard, const QJsonValue &given) const;

    const std::shared_ptr<const Bank::Files> m_files;
    const Bank::Options &m_options;
    Bank::Receiver &m_receiver;
    Bank::Passage m_passage;
    int m_count = 0; // items given
    int m_known = 0; // contents of known types that were met
};

void Reader::Read(const Content &content, int depth)
{
    if (ReadKnown(content))
        ++m_known;
    else
        ReadOther(content, depth);
}

bool Reader::ReadKnown(const Content &content)
{
    if (content.Library == "H5P.MultiChoice"_L1)
        ReadChoice(content);
    else if (content.Library == "H5P.TrueFalse"_L1)
        ReadTrueFalse(content);
    else if (content.Library == "H5P.SingleChoiceSet"_L1)
        ReadChoiceSet(content);
    else if (const QString refusal = RefusalOf(content.Library); !refusal.isEmpty())
        Refuse(content, refusal);
    else
        return false;
    return true;
}

// A content with others in it, perhaps. Of an unknown one a question of its own is
// lost even where a picture in it has been named.
void Reader::ReadOther(const Content &content, int depth)
{
    const int items = m_count;
    const int known = m_known;
    if (!IsBlank(content.Params.value("introPage"_L1)["introduction"_L1]))
        m_receiver.Warn(0, u"the introduction of a question set is left out"_s);
    if (!IsBlank(content.Params.value("endGame"_L1)["overallFeedback"_L1].toArray().first()["feedback"_L1]))
        m_receiver.Warn(0, u"the feedback on the score of a question set is left out"_s);
    ReadNested(content.Params, depth);
    const bool isRead = m_known > known || (IsContainer(content.Library) && m_count > items);
    if (!isRead && !content.Library.isEmpty() && !content.Params.isEmpty())
        Refuse(content, u"a content of the type %1 is not read"_s.arg(content.Library));
}

// The contents anywhere in a value, such as the chapters of a book, their columns
// and the questions in these.
void Reader::ReadNested(const QJsonValue &value, int depth)
{
    if (depth > MostDepth)
        return;
    if (value.isArray()) {
        for (const QJsonValue each : value.toArray())
            ReadNested(each, depth + 1);
        return;
    }
    const QJsonObject object = value.toObject();
    const QJsonValue library = object.value("library"_L1);
    if (library.isString() && object.value("params"_L1).isObject()) {
        Read({ library.toString().section(u' ', 0, 0), object.value("params"_L1).toObject(),
               object.value("metadata"_L1)["title"_L1].toString() },
             depth + 1);
        return;
    }
    for (const QJsonValue each : object)
        ReadNested(each, depth + 1);
}

void Reader::Refuse(const Content &content, const QString &refusal)
{
    const bool isText = content.Params.contains("text"_L1) && content.Library.endsWith("Text"_L1);
    if (isText && m_options.HasPassages) {
        m_passage.Take(m_count + 1, Html(content.Params.value("text"_L1)));
        return;
    }
    Bank::Item item = Begin(content);
    item.Refusal = refusal;
    Add(std::move(item));
}

Bank::Item Reader::Begin(const Content &content)
{
    Bank::Item item;
    item.Line = ++m_count;
    item.Title = content.Title;
    item.Files = m_files;
    return item;
}

void Reader::Add(Bank::Item &&item)
{
    if (item.Refusal.isEmpty() && item.Options.empty())
        item.Refusal = u"it has no options"_s;
    m_passage.Give(item);
    m_receiver.Add(std::move(item));
}

// The picture above the question becomes a part of it.
void Reader::AddMedia(Bank::Item &item, const QJsonObject &params) const
{
    QJsonObject media = params.value("media"_L1).toObject();
    // Older contents have it without the object around it.
    if (media.value("type"_L1).isObject())
        media = media.value("type"_L1).toObject();
    const QString library = media.value("library"_L1).toString().section(u' ', 0, 0);
    const QJsonObject content = media.value("params"_L1).toObject();
    const QString path = content.value("file"_L1)["path"_L1].toString();
    if (library == "H5P.Image"_L1 && !path.isEmpty()) {
        const QString alt = content.value("alt"_L1).toString();
        item.Problem.Source.prepend(u"<p><img src=\"%1\" alt=\"%2\"></p>\n"_s.arg(path.toHtmlEscaped(), alt.toHtmlEscaped()));
    } else if (!library.isEmpty() && library != "H5P.Image"_L1 && !content.isEmpty()) {
        item.Warnings += u"what it plays is left out (%1)"_s.arg(library);
    }
}

void Reader::ReadChoice(const Content &content)
{
    Bank::Item item = Begin(content);
    item.Problem = Html(content.Params.value("question"_L1));
    int right = 0;
    bool hasTip = false;
    bool hasTwo = false;
    for (const QJsonValue answer : content.Params.value("answers"_L1).toArray()) {
        const QJsonValue feedback = answer["tipsAndFeedback"_L1];
        const QJsonValue chosen = feedback["chosenFeedback"_L1];
        const QJsonValue notChosen = feedback["notChosenFeedback"_L1];
        hasTip = hasTip || !IsBlank(feedback["tip"_L1]);
        hasTwo = hasTwo || (!IsBlank(chosen) && !IsBlank(notChosen));
        Bank::Option option{ Html(answer["text"_L1]), Html(IsBlank(chosen) ? notChosen : chosen),
                             answer["correct"_L1].toBool() };
        right += option.IsRight ? 1 : 0;
        item.Options.push_back(std::move(option));
    }
    AddMedia(item, content.Params);
    const QJsonValue behaviour = content.Params.value("behaviour"_L1);
    const QString type = behaviour["type"_L1].toString(behaviour["singleAnswer"_L1].toBool() ? u"single"_s : u"auto"_s);
    item.IsMultiple = type == "multi"_L1 || (type != "single"_L1 && right > 1);
    if (!item.IsMultiple && right > 1)
        item.Refusal = u"several answers are right alone"_s;
    if (hasTip)
        item.Warnings += u"a tip is left out"_s;
    if (hasTwo)
        item.Warnings += u"feedback on options that are not chosen is left out"_s;
    for (const QJsonValue range : content.Params.value("overallFeedback"_L1).toArray()) {
        if (!IsBlank(range["feedback"_L1])) {
            item.Warnings += u"feedback on the score is left out"_s;
            break;
        }
    }
    Add(std::move(item));
}

// What the user says for it counts more than what stands in the package.
QString Reader::OptionText(const QString &own, const QString &standard, const QJsonValue &given) const
{
    return own == standard && !IsBlank(given) ? given.toString().trimmed() : own;
}

void Reader::ReadTrueFalse(const Content &content)
{
    Bank::Item item = Begin(content);
    item.Problem = Html(content.Params.value("question"_L1));
    const QString correct = content.Params.value("correct"_L1).toVariant().toString();
    const QJsonValue labels = content.Params.value("l10n"_L1);
    const QJsonValue behaviour = content.Params.value("behaviour"_L1);
    const Bank::Options standard;
    for (const bool value : { true, false }) {
        const QString text = value ? OptionText(m_options.True, standard.True, labels["trueText"_L1])
                                   : OptionText(m_options.False, standard.False, labels["falseText"_L1]);
        const bool isRight = correct == (value ? "true"_L1 : "false"_L1);
        Markup::Text feedback = Html(behaviour[isRight ? "feedbackOnCorrect"_L1 : "feedbackOnWrong"_L1]);
        feedback.Kind = Markup::Kind::Plain;
        item.Options.push_back({ { text, Markup::Kind::Plain }, feedback, isRight });
    }
    AddMedia(item, content.Params);
    Add(std::move(item));
}

// Each choice is an item of its own, and its first answer is the right one.
void Reader::ReadChoiceSet(const Content &content)
{
    for (const QJsonValue choice : content.Params.value("choices"_L1).toArray()) {
        Bank::Item item = Begin(content);
        item.Problem = Html(choice["question"_L1]);
        for (const QJsonValue answer : choice["answers"_L1].toArray())
            item.Options.push_back({ Html(answer), {}, item.Options.empty() });
        Add(std::move(item));
    }
}

// The path of the package's description; empty when it is no such package.
QString DescriptionOf(const Bank::Source &source)
{
    return Bank::IsPackage(source) ? Bank::ShallowestOf(source.Files->Paths(), u"h5p.json"_s) : QString();
}

QJsonObject Parse(const Bank::Source &source, const QString &path)
{
    const auto bytes = source.Files->Read(path);
    if (!bytes)
        throw Error(InvalidCall, u"the H5P package has no %1"_s.arg(path), source.Name);
    if (bytes->size() > MostJsonBytes)
        throw Error(InvalidCall, u"%1 is larger than %2 MB"_s.arg(path).arg(MostJsonBytes >> 20), source.Name);
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(*bytes, &error);
    if (!document.isObject())
        throw Error(InvalidCall, u"%1 is no JSON object (%2)"_s.arg(path, error.errorString()), source.Name);
    return document.object();
}

}

bool Suits(const Bank::Source &source)
{
    return !DescriptionOf(source).isEmpty();
}

void Read(const Bank::Source &source, const Bank::Options &options, Bank::Receiver &receiver)
{
    const QString path = DescriptionOf(source);
    if (path.isEmpty())
        throw Error(InvalidCall, u"no H5P package: it has no h5p.json"_s, source.Name);
    const QString folder = path.section(u'/', 0, -2);
    Content content;
    {
        const QJsonObject description = Parse(source, path);
        receiver.SetName(description.value("title"_L1).toString().trimmed());
        content.Library = description.value("mainLibrary"_L1).toString();
    }
    content.Params = Parse(source, (folder.isEmpty() ? QString() : folder + u'/') + u"content/content.json"_s);
    Reader(source, folder, options, receiver).ReadAll(content);
}

}
