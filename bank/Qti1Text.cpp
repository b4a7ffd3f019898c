// SPDX-License-Identifier: Apache-2.0
#include "bank/Qti1Text.h"

#include "bank/Passage.h"

#include <QRegularExpression>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

namespace Qti1 {

namespace {

// Appends a part in the same line.
void Join(Markup::Text &text, const Markup::Text &part)
{
    const auto toHtml
        = [](const Markup::Text &one) { return one.Kind == Markup::Kind::Plain ? one.Source.toHtmlEscaped() : one.Source; };
    if (part.Source.isEmpty())
        return;
    if (text.Source.isEmpty()) {
        text = part;
    } else if (text.Kind == part.Kind) {
        text.Source += u' ' + part.Source;
    } else {
        if (text.Kind != Markup::Kind::Html)
            text = { toHtml(text), Markup::Kind::Html };
        text.Source += u' ' + toHtml(part);
    }
}

// The formula that a picture of Canvas shows, as TeX; empty when there is none.
QString FormulaOf(const QString &tag)
{
    static const QRegularExpression formula(u"\\b(?:data-equation-content=\"|title=\"|alt=\"LaTeX:)([^\"]+)\""_s);
    return formula.match(tag).captured(1).trimmed();
}

}

Texts::Texts(QString folder)
    : m_folder(std::move(folder))
{
}

void Texts::Warn(const QString &text)
{
    if (!m_warnings.contains(text))
        m_warnings += text;
}

void Texts::Read(Xml::Reader &reader, Markup::Text &text)
{
    if (reader.Name() == u"material") {
        Markup::Text material;
        ReadParts(reader, material);
        Bank::Append(text, material);
        return;
    }
    while (reader.NextChild()) {
        if (reader.Name() == u"material" || !reader.Name().startsWith(u"mat")) {
            Read(reader, text);
        } else {
            Markup::Text part;
            ReadPart(reader, part);
            Bank::Append(text, part);
        }
    }
}

void Texts::ReadParts(Xml::Reader &reader, Markup::Text &text)
{
    while (reader.NextChild())
        ReadPart(reader, text);
}

void Texts::ReadPart(Xml::Reader &reader, Markup::Text &text)
{
    const QString name = reader.Name().toString();
    if (name == "mattext"_L1 || name == "matemtext"_L1 || name == "mat_formattedtext"_L1) {
        Join(text, ReadText(reader));
    } else if (name == "matimage"_L1) {
        Join(text, ReadPicture(reader));
    } else if (name == "mat_extension"_L1) {
        ReadParts(reader, text);
    } else {
        if (name == "matbreak"_L1)
            Join(text, { u"<br>"_s, Markup::Kind::Html });
        else if (name == "matref"_L1 || name == "material_ref"_L1)
            Warn(u"a text that stands elsewhere in the file is left out"_s);
        else if (name == "mataudio"_L1 || name == "matvideo"_L1 || name.startsWith("matappl"_L1))
            Warn(u"what is played is left out"_s);
        reader.Skip();
    }
}

Markup::Text Texts::ReadText(Xml::Reader &reader) const
{
    const QString type = reader.Attribute("texttype"_L1) + reader.Attribute("type"_L1);
    Markup::Text text;
    text.Kind = type.contains("html"_L1, Qt::CaseInsensitive) ? Markup::Kind::Html
        : type == "text/plain"_L1                             ? Markup::Kind::Plain
                                                              : Markup::Kind::Moodle;
    // Tags are escaped, as characters of the text, or elements within it.
    bool isMarkup = false;
    text.Source = reader.TextOrMarkup(isMarkup);
    if (isMarkup)
        text.Kind = Markup::Kind::Html;
    if (text.Kind != Markup::Kind::Plain)
        text.Source = Prepared(text.Source);
    text.Source = text.Source.trimmed();
    return text;
}

// Pictures of formulas as TeX, and pictures of other folders by their paths from
// the top.
QString Texts::Prepared(QString html) const
{
    static const QRegularExpression formula(u"<img\\b[^>]*\\bclass=\"equation_image\"[^>]*>"_s);
    static const QRegularExpression above(u"<img\\b[^>]*\\bsrc=[\"'](\\.\\./[^\"'>]*)"_s);
    const auto replaceAll = [&](const QRegularExpression &wanted, int group, const auto &replacement) {
        QString result;
        qsizetype at = 0;
        for (auto match = wanted.globalMatch(html); match.hasNext();) {
            const auto found = match.next();
            const QString instead = replacement(found.captured(group));
            if (instead.isEmpty())
                continue;
            result += QStringView(html).sliced(at, found.capturedStart(group) - at);
            result += instead;
            at = found.capturedEnd(group);
        }
        result += QStringView(html).sliced(at);
        html = result;
    };
    if (html.contains("equation_image"_L1)) {
        replaceAll(formula, 0, [](const QString &tag) {
            const QString tex = FormulaOf(tag);
            return tex.isEmpty() ? QString() : u"\\("_s + tex + u"\\)"_s;
        });
    }
    if (html.contains("../"_L1)) {
        replaceAll(above, 1, [&](const QString &address) { return FromTop(address); });
    }
    return html;
}

Markup::Text Texts::ReadPicture(Xml::Reader &reader)
{
    const QString alt = reader.Attribute("label"_L1);
    QString address = reader.Attribute("uri"_L1);
    if (reader.Attribute("embedded"_L1) == "base64"_L1) {
        address = u"embedded-%1"_s.arg(m_embedded.size() + 1);
        m_embedded[address] = QByteArray::fromBase64(reader.Text().toLatin1());
    } else {
        if (address.startsWith("../"_L1))
            address = FromTop(address);
        reader.Skip();
    }
    return { u"<img src=\"%1\" alt=\"%2\">"_s.arg(address.toHtmlEscaped(), alt.toHtmlEscaped()), Markup::Kind::Html };
}

QString Texts::FromTop(const QString &address) const
{
    return QString::fromLatin1(QUrl::toPercentEncoding(Bank::PathOf(address, m_folder), "/"));
}

}
