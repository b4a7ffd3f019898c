// SPDX-License-Identifier: Apache-2.0
#include "bank/Qti2Item.h"

#include "bank/Qti2Content.h"
#include "bank/Qti2Key.h"
#include "bank/Qti2Processing.h"

#include <QHash>

using namespace Qt::Literals::StringLiterals;

namespace Qti2 {

namespace {

// An option takes far more memory than the element it is written as.
constexpr size_t MostOptions = 1000;
constexpr size_t MostStimuli = 20;

constexpr QLatin1StringView Interaction("interaction");

// What is asked by an interaction without options; nothing for one that asks
// nothing.
QString QuestionOf(const Xml::Reader &reader)
{
    static constexpr std::pair<QLatin1StringView, QLatin1StringView> questions[] = {
        { "orderInteraction graphicOrderInteraction"_L1, "an ordering question"_L1 },
        { "associateInteraction matchInteraction graphicAssociateInteraction"_L1, "a matching question"_L1 },
        { "gapMatchInteraction graphicGapMatchInteraction positionObjectInteraction"_L1, "a drag-and-drop question"_L1 },
        { "hottextInteraction"_L1, "a hot-text question"_L1 },
        { "hotspotInteraction selectPointInteraction"_L1, "a hot-spot question"_L1 },
        { "textEntryInteraction"_L1, "a short-answer question"_L1 },
        { "extendedTextInteraction"_L1, "an essay question"_L1 },
        { "uploadInteraction"_L1, "a file-upload question"_L1 },
        { "sliderInteraction"_L1, "a slider question"_L1 },
        { "drawingInteraction"_L1, "a drawing question"_L1 },
        { "mediaInteraction"_L1, {} },
        { "endAttemptInteraction"_L1, {} },
    };
    for (const auto &[names, question] : questions) {
        if (IsOneOf(reader, names))
            return question;
    }
    return u"a custom question"_s;
}

// A text that is shown, or no longer shown, when an outcome has the value.
struct Feedback {
    QString Outcome;
    QString Value;
    bool IsHidden = false; // by that value
    QString Text;
};

// By the names that are in use: nothing else says it.
bool MeansWrong(const QString &name)
{
    return name.contains(Processing::Incorrect, Qt::CaseInsensitive) || name.contains("wrong"_L1, Qt::CaseInsensitive);
}

bool MeansRight(const QString &name)
{
    return name.contains("correct"_L1, Qt::CaseInsensitive) && !MeansWrong(name);
}

Feedback FeedbackOf(const Xml::Reader &reader)
{
    return { AttributeOf(reader, "outcomeIdentifier"_L1),
             AttributeOf(reader, "identifier"_L1),
             AttributeOf(reader, "showHide"_L1) == "hide"_L1,
             {} };
}

class Parser : private Content {
public:
    explicit Parser(const QString &folder)
        : Content(folder)
    {
    }

    ParsedItem Parse(Xml::Reader &reader)
    {
        m_item.Item.Line = reader.Line();
        m_item.Item.Title = AttributeOf(reader, "title"_L1);
        if (m_item.Item.Title.isEmpty())
            m_item.Item.Title = AttributeOf(reader, "identifier"_L1);
        while (reader.NextChild())
            ReadPart(reader);
        Finish();
        return std::move(m_item);
    }

private:
    void ReadPart(Xml::Reader &reader)
    {
        if (Is(reader, "responseDeclaration"_L1)) {
            const QString identifier = AttributeOf(reader, "identifier"_L1);
            m_keys.insert(identifier, Key::Of(reader));
        } else if (Is(reader, "outcomeDeclaration"_L1)) {
            const QString identifier = AttributeOf(reader, "identifier"_L1);
            const QStringList defaults = Key::Of(reader).Defaults;
            m_defaults.insert(identifier, QSet<QString>(defaults.begin(), defaults.end()));
        } else if (Is(reader, "assessmentStimulusRef"_L1)) {
            const QString reference = AttributeOf(reader, "href"_L1);
            if (m_item.Stimuli.size() < MostStimuli)
                m_item.Stimuli.push_back({ Bank::PathOf(reference, Folder()), reference });
            else
                Warn(u"more than %1 passages: the others are left out"_s.arg(MostStimuli));
            reader.Skip();
        } else if (Is(reader, "itemBody"_L1)) {
            m_stem += Read(reader);
        } else if (Is(reader, "modalFeedback"_L1)) {
            Feedback feedback = FeedbackOf(reader);
            feedback.Text = Read(reader).trimmed();
            m_feedback.push_back(std::move(feedback));
        } else if (Is(reader, "responseProcessing"_L1)) {
            m_processing = Processing::Of(reader);
        } else if (Is(reader, "templateDeclaration"_L1)) {
            m_hasTemplate = true;
            reader.Skip();
        } else {
            reader.Skip();
        }
    }

    bool Replace(Xml::Reader &reader, QString &markup) override
    {
        if (Is(reader, "choiceInteraction"_L1))
            ReadChoices(reader, markup, "simpleChoice"_L1);
        else if (Is(reader, "inlineChoiceInteraction"_L1))
            ReadChoices(reader, markup, "inlineChoice"_L1);
        else if (IsOneOf(reader, "feedbackBlock feedbackInline"_L1))
            ReadFeedback(reader, markup);
        else if (Is(reader, "rubricBlock"_L1))
            ReadItemRubric(reader, markup);
        else if (reader.Name().endsWith(Interaction, Qt::CaseInsensitive))
            return ReplaceInteraction(reader, markup);
        else
            return Content::Replace(reader, markup);
        return true;
    }

    void ReadChoices(Xml::Reader &reader, QString &markup, QLatin1StringView choice)
    {
        const bool isGap = choice == "inlineChoice"_L1;
        ++m_questions;
        m_gaps += isGap ? 1 : 0;
        if (m_questions > 1) {
            reader.Skip();
            return;
        }
        m_response = AttributeOf(reader, "responseIdentifier"_L1);
        m_mostChoices = AttributeOf(reader, "maxChoices"_L1);
        m_isFixed = AttributeOf(reader, "shuffle"_L1) == "false"_L1;
        if (isGap)
            markup += u"_____"_s;
        while (reader.NextChild()) {
            if (Is(reader, choice))
                ReadChoice(reader);
            else if (Is(reader, "prompt"_L1))
                markup += u"<div>"_s + Read(reader).trimmed() + u"</div>"_s;
            else
                reader.Skip();
        }
    }

    void ReadChoice(Xml::Reader &reader)
    {
        std::vector<Bank::Option> &options = m_item.Item.Options;
        if (options.size() == MostOptions) {
            m_item.Item.Refusal = u"it has more than %1 options"_s.arg(MostOptions);
            reader.Skip();
            return;
        }
        Bank::Option option;
        const QString identifier = AttributeOf(reader, "identifier"_L1);
        option.IsFixed = m_isFixed || AttributeOf(reader, "fixed"_L1) == "true"_L1;
        m_choiceFeedback.emplace();
        option.Statement = Html(Read(reader));
        m_feedbackOf.append(*std::exchange(m_choiceFeedback, {}));
        m_choices.append(identifier);
        options.push_back(std::move(option));
    }

    void ReadFeedback(Xml::Reader &reader, QString &markup)
    {
        Feedback feedback = FeedbackOf(reader);
        const int questions = m_questions;
        feedback.Text = Read(reader);
        // What is seen before an answer belongs to the text.
        const bool isDefault = m_defaults.value(feedback.Outcome).contains(feedback.Value);
        if (isDefault != feedback.IsHidden || m_questions > questions)
            markup += feedback.Text;
        else if (m_choiceFeedback)
            m_choiceFeedback->append(feedback.Text.trimmed());
        else
            m_feedback.push_back(std::move(feedback));
    }

    void ReadItemRubric(Xml::Reader &reader, QString &markup)
    {
        const int questions = m_questions;
        const Rubric rubric = ReadRubric(reader, *this);
        if (rubric.IsForCandidates || m_questions > questions)
            markup += u"<div>"_s + rubric.Text + u"</div>"_s;
        else
            m_explanations.append(rubric.Text);
    }

    bool ReplaceInteraction(Xml::Reader &reader, QString &markup)
    {
        const QString question = QuestionOf(reader);
        if (!question.isEmpty()) {
            ++m_questions;
            m_gaps += Is(reader, "textEntryInteraction"_L1) ? 1 : 0;
            m_refusal = question + u" has no options"_s;
        } else if (Is(reader, "mediaInteraction"_L1)) {
            return Content::Replace(reader, markup);
        } else {
            Warn(u"the button \"%1\" is left out"_s.arg(AttributeOf(reader, "title"_L1).left(100)));
        }
        reader.Skip();
        return true;
    }

    void Finish()
    {
        Bank::Item &item = m_item.Item;
        item.Problem = Html(m_stem);
        if (item.Refusal.isEmpty())
            item.Refusal = Refusal();
        m_item.IsDescription = m_questions == 0 && !IsVariable() && !item.Problem.Source.isEmpty();
        if (item.Refusal.isEmpty())
            item.Refusal = TakeKey();
        if (item.Refusal.isEmpty())
            TakeFeedback();
        item.Warnings += Warnings();
    }

    bool IsVariable() const { return m_hasTemplate || HasVariables(); }

    // Why this is no item with options.
    QString Refusal() const
    {
        if (m_questions == 0 && !IsVariable())
            return u"a description without answers is no question"_s;
        if (m_questions > 1)
            return m_gaps == m_questions ? u"it has several gaps"_s : u"it has several questions in one"_s;
        if (!m_refusal.isEmpty())
            return m_refusal;
        if (m_questions == 1 && m_item.Item.Options.empty())
            return u"it has no options"_s;
        return IsVariable() ? u"its text is made of variables"_s : QString();
    }

    // Why the item has no key that can be told.
    QString TakeKey()
    {
        Bank::Item &item = m_item.Item;
        const Key key = m_keys.value(m_response);
        if (key.IsEmpty())
            return m_processing.HasRules ? u"its key stands only in its response processing"_s : QString();
        item.IsMultiple = m_gaps == 0 && key.Cardinality == "multiple"_L1 && m_mostChoices != "1"_L1;
        const QSet<QString> right = key.Right(m_choices, item.IsMultiple);
        int count = 0;
        for (qsizetype i = 0; i < m_choices.size(); ++i) {
            Bank::Option &option = item.Options[static_cast<size_t>(i)];
            option.IsRight = right.contains(m_choices.at(i));
            count += option.IsRight ? 1 : 0;
        }
        if (count < right.size())
            return u"its key names an option that it does not have"_s;
        if (!item.IsMultiple && count > 1)
            return u"several answers are right alone"_s;
        // No limit is said by 0 or by the number of all options.
        const int most = m_mostChoices.toInt();
        item.IsUnlimited = item.IsMultiple && most > count && most < m_choices.size();
        if (item.IsMultiple && most > 0 && most < count)
            Warn(u"%1 options are right, but it lets only %2 be chosen"_s.arg(count).arg(most));
        return {};
    }

    void TakeFeedback()
    {
        QHash<QString, qsizetype> choices;
        for (const QString &choice : m_choices)
            choices.insert(choice, choices.size());
        QSet<QString> left;
        for (const Feedback &feedback : m_feedback) {
            // It belongs to the choice that it is named like, or that alone is the
            // condition for it.
            QStringList names = m_processing.Conditions.value(feedback.Value);
            names.removeDuplicates();
            QList<qsizetype> its;
            for (const QString &name : choices.contains(feedback.Value) ? QStringList(feedback.Value) : names) {
                if (choices.contains(name))
                    its.append(choices.value(name));
            }
            names.append(feedback.Value);
            const bool isForWrong = feedback.IsHidden ? !its.isEmpty() || std::any_of(names.begin(), names.end(), MeansRight)
                                                      : its.isEmpty() && std::any_of(names.begin(), names.end(), MeansWrong);
            if (isForWrong)
                left.insert(feedback.Text);
            else if (its.size() == 1)
                m_feedbackOf[its.first()].append(feedback.Text);
            else
                m_explanations.append(feedback.Text);
        }
        m_explanations.removeDuplicates();
        for (const QString &text : m_explanations)
            left.remove(text);
        if (!left.isEmpty())
            Warn(u"its feedback for wrong answers is left out"_s);
        m_item.Item.Feedback = Html(Joined(m_explanations));
        for (qsizetype i = 0; i < m_feedbackOf.size(); ++i)
            m_item.Item.Options[static_cast<size_t>(i)].Feedback = Html(Joined(m_feedbackOf.at(i)));
    }

    ParsedItem m_item;
    QString m_stem;
    QHash<QString, Key> m_keys; // by response
    QHash<QString, QSet<QString>> m_defaults; // by outcome
    Processing m_processing;
    bool m_hasTemplate = false;

    int m_questions = 0;
    int m_gaps = 0; // those that stand in a sentence
    QString m_refusal;
    QString m_response;
    QString m_mostChoices;
    bool m_isFixed = false;
    QStringList m_choices; // their identifiers
    QList<QStringList> m_feedbackOf; // each choice
    std::optional<QStringList> m_choiceFeedback; // of the one that is read

    std::vector<Feedback> m_feedback;
    QStringList m_explanations;
};

}

ParsedItem ReadItem(const QByteArray &bytes, const QString &name, const QString &folder)
{
    Xml::Reader reader(bytes, name);
    reader.NextChild();
    if (!Is(reader, "assessmentItem"_L1))
        reader.Fail(u"the root is the element \"%1\" and no item"_s.arg(reader.Name().left(100)));
    ParsedItem item = Parser(folder).Parse(reader);
    reader.NextChild();
    return item;
}

Markup::Text ReadStimulus(const QByteArray &bytes, const QString &name, const QString &folder, QStringList &warnings)
{
    Xml::Reader reader(bytes, name);
    reader.NextChild();
    if (!Is(reader, "assessmentStimulus"_L1))
        reader.Fail(u"the root is the element \"%1\" and no passage"_s.arg(reader.Name().left(100)));
    Content content(folder);
    QString text;
    while (reader.NextChild()) {
        if (Is(reader, "stimulusBody"_L1))
            text += content.Read(reader);
        else
            reader.Skip();
    }
    warnings += content.Warnings();
    return Html(text);
}

}
