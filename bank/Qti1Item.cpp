// SPDX-License-Identifier: Apache-2.0
#include "bank/Qti1Item.h"

#include "bank/Passage.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Qti1 {

namespace {

// Why a question of a type that a program names is none to choose one answer of;
// empty for others. The types are those of Canvas, of Common Cartridge, and of the
// QTI 1.2 metadata.
QString RefusalOfType(const QString &type)
{
    static const std::pair<QLatin1StringView, QLatin1StringView> rows[] = {
        { "essay"_L1, "an essay question has no options"_L1 },
        { "long answer"_L1, "an essay question has no options"_L1 },
        { "short_answer"_L1, "a short-answer question has no options"_L1 },
        { "short answer"_L1, "a short-answer question has no options"_L1 },
        { "cc.fib"_L1, "a short-answer question has no options"_L1 },
        { "cc.pattern_match"_L1, "a short-answer question has no options"_L1 },
        { "fill_in_multiple_blanks"_L1, "a fill-in-the-blanks question has no options"_L1 },
        { "fill in the blank"_L1, "a fill-in-the-blanks question has no options"_L1 },
        { "multiple_dropdowns"_L1, "a question of several gaps has a choice for each"_L1 },
        { "matching"_L1, "a matching question has no options"_L1 },
        { "numerical"_L1, "a numerical question has no options"_L1 },
        { "calculated"_L1, "a calculated question has no options"_L1 },
        { "arithmetic"_L1, "a calculated question has no options"_L1 },
        { "formula"_L1, "a calculated question has no options"_L1 },
        { "file_upload"_L1, "a file-upload question has no options"_L1 },
        { "file upload"_L1, "a file-upload question has no options"_L1 },
        { "ordering"_L1, "an ordering question has no options"_L1 },
        { "categorization"_L1, "a matching question has no options"_L1 },
        { "hot_spot"_L1, "a hotspot question has no options"_L1 },
        { "hotspot"_L1, "a hotspot question has no options"_L1 },
    };
    for (const auto &[name, refusal] : rows) {
        if (type.contains(name))
            return refusal;
    }
    return {};
}

}

ItemReader::ItemReader(Xml::Reader &reader, const QString &folder, std::shared_ptr<const Bank::Files> files)
    : m_reader(reader)
    , m_texts(folder, std::move(files))
{
}

Bank::Item ItemReader::Read()
{
    Bank::Item item;
    item.Line = m_reader.Line();
    item.Title = m_reader.Attribute("title"_L1).trimmed();
    while (m_reader.NextChild()) {
        const QString name = m_reader.Name().toString();
        if (name == "itemmetadata"_L1) {
            ReadMetadata();
        } else if (name == "presentation"_L1) {
            ReadPresentation();
        } else if (name == "resprocessing"_L1) {
            m_score.Read(m_reader);
        } else if (name == "itemfeedback"_L1) {
            ReadFeedback();
        } else if (name == "rubric"_L1 || name == "itemrubric"_L1) {
            Markup::Text rubric;
            m_texts.Read(m_reader, rubric);
            if (!rubric.Source.isEmpty())
                m_texts.Warn(u"the rubric is left out"_s);
        } else {
            m_reader.Skip();
        }
    }
    Finish(item);
    return item;
}

void ItemReader::ReadMetadata()
{
    static const QStringList labels
        = { u"question_type"_s, u"cc_profile"_s, u"qmd_itemtype"_s, u"qmd_questiontype"_s, u"bbmd_questiontype"_s };
    QString label;
    while (m_reader.NextChild()) {
        const QString name = m_reader.Name().toString();
        if (name == "fieldlabel"_L1) {
            label = m_reader.Text().trimmed();
        } else if (name == "fieldentry"_L1 || labels.contains(name)) {
            const QString entry = m_reader.Text().trimmed().toLower();
            if (m_type.isEmpty() && labels.contains(name == "fieldentry"_L1 ? label : name))
                m_type = entry;
        } else {
            ReadMetadata();
        }
    }
}

void ItemReader::ReadPresentation()
{
    while (m_reader.NextChild()) {
        const QString name = m_reader.Name().toString();
        if (name.startsWith("response_"_L1)) {
            Response response;
            response.Kind = name;
            response.Cardinality = m_reader.Attribute("rcardinality"_L1).toLower();
            ReadResponse(response);
            m_responses.push_back(std::move(response));
        } else if (name == "flow"_L1) {
            ReadPresentation();
        } else if (name == "material"_L1 || name == "material_ref"_L1 || name == "flow_mat"_L1) {
            m_texts.Read(m_reader, m_stem);
        } else {
            m_reader.Skip();
        }
    }
}

void ItemReader::ReadResponse(Response &response)
{
    while (m_reader.NextChild()) {
        const QString name = m_reader.Name().toString();
        if (name == "response_label"_L1) {
            Bank::Option option;
            response.Identifiers += m_reader.Attribute("ident"_L1).trimmed();
            option.IsFixed = m_reader.Attribute("rshuffle"_L1).toLower() == "no"_L1;
            m_texts.Read(m_reader, option.Statement);
            response.Options.push_back(std::move(option));
        } else if (name == "material"_L1 || name == "material_ref"_L1 || name == "flow_mat"_L1) {
            m_texts.Read(m_reader, m_stem);
        } else {
            if (name.startsWith("render_"_L1) && response.Renderer.isEmpty())
                response.Renderer = name;
            ReadResponse(response);
        }
    }
}

void ItemReader::ReadFeedback()
{
    Feedback &feedback = m_feedback[m_reader.Attribute("ident"_L1)];
    while (m_reader.NextChild()) {
        if (m_reader.Name() == u"solution") {
            m_texts.Read(m_reader, feedback.Solution);
        } else if (m_reader.Name() == u"hint") {
            m_texts.Warn(u"a hint is left out"_s);
            m_reader.Skip();
        } else {
            m_texts.Read(m_reader, feedback.Text);
        }
    }
}

// Why this is no item with options to choose from; empty when it is one.
QString ItemReader::RefusalOf() const
{
    if (IsDescription())
        return u"a description without answers is no question"_s;
    if (const QString refusal = RefusalOfType(m_type); !refusal.isEmpty())
        return refusal;
    const Response &response = m_responses.front();
    const QString &kind = response.Kind;
    if (kind == "response_grp"_L1)
        return u"a matching question has no options"_s;
    if (kind == "response_xy"_L1 || response.Renderer == "render_hotspot"_L1)
        return u"a hotspot question has no options"_s;
    if (kind == "response_num"_L1 || response.Renderer == "render_slider"_L1)
        return u"a numerical question has no options"_s;
    if (m_responses.size() > 1)
        return response.Renderer == "render_fib"_L1 ? u"a fill-in-the-blanks question has no options"_s
                                                    : u"a question of several gaps has a choice for each"_s;
    if (kind == "response_str"_L1 || response.Renderer == "render_fib"_L1)
        return m_score.HasComparisons() ? u"a short-answer question has no options"_s : u"an essay question has no options"_s;
    if (response.Cardinality == "ordered"_L1)
        return u"an ordering question has no options"_s;
    return response.Options.empty() ? u"it has no options"_s : QString();
}

void ItemReader::Finish(Bank::Item &item)
{
    item.Refusal = RefusalOf();
    item.Problem = m_stem;
    if (!item.Refusal.isEmpty())
        return;
    Response &response = m_responses.front();
    item.IsMultiple = response.Cardinality == "multiple"_L1;
    const Score::Key key = m_score.KeyOf(response.Identifiers, item.IsMultiple);
    item.Refusal = key.Refusal;
    if (!item.Refusal.isEmpty())
        return;
    item.Options = std::move(response.Options);
    for (size_t i = 0; i < key.Right.size(); ++i)
        item.Options[i].IsRight = key.Right[i];
    AddFeedback(item, key, response.Identifiers);
    item.Warnings += m_texts.Warnings();
    item.Files = m_texts.Files();
}

// The explanation is what every response gets, or else what a right one gets.
void ItemReader::AddFeedback(Bank::Item &item, const Score::Key &key, const QStringList &options)
{
    Markup::Text general;
    Markup::Text right;
    bool isLeftOut = false;
    const auto take = [&](const QString &name, Score::Link::To whom, int option) {
        const auto found = m_feedback.find(name);
        if (found == m_feedback.end() || found->second.IsUsed)
            return;
        found->second.IsUsed = true;
        const Markup::Text &text = found->second.Text;
        Bank::Append(general, found->second.Solution);
        // The names that Canvas, Common Cartridge and Blackboard have for them.
        if (name == "general_fb"_L1)
            whom = Score::Link::To::All;
        else if (name == "correct_fb"_L1 || name == "correct"_L1)
            whom = Score::Link::To::Right;
        else if (name == "general_incorrect_fb"_L1 || name == "incorrect"_L1)
            whom = Score::Link::To::Wrong;
        if (whom == Score::Link::To::All)
            Bank::Append(general, text);
        else if (whom == Score::Link::To::Right)
            Bank::Append(right, text);
        else if (whom == Score::Link::To::Option && option >= 0)
            Bank::Append(item.Options[static_cast<size_t>(option)].Feedback, text);
        else
            isLeftOut = isLeftOut || !text.Source.isEmpty();
    };
    for (const Score::Link &link : m_score.Links(options, key))
        take(link.Feedback, link.Whom, link.Option);
    for (const auto &each : m_feedback)
        take(each.first, Score::Link::To::Wrong, -1);
    isLeftOut = isLeftOut || (!general.Source.isEmpty() && !right.Source.isEmpty());
    item.Feedback = general.Source.isEmpty() ? right : general;
    if (isLeftOut)
        item.Warnings += u"feedback on right or wrong answers as a whole is left out"_s;
}

}
