// SPDX-License-Identifier: Apache-2.0
#include "bank/Qti2Content.h"

#include "bank/Files.h"

#include <QVarLengthArray>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Qti2 {

namespace {

constexpr QStringView Prefix = u"qti-";
constexpr size_t MostWarnings = 20;

bool IsUpper(char c)
{
    return c >= 'A' && c <= 'Z';
}

// Whether a name of QTI 3, without its prefix, means that name of QTI 2.
bool IsSame(QStringView written, QLatin1StringView name)
{
    qsizetype at = 0;
    for (const char c : name) {
        if (IsUpper(c) && (at == written.size() || written[at++] != u'-'))
            return false;
        const char lower = IsUpper(c) ? static_cast<char>(c - 'A' + 'a') : c;
        if (at == written.size() || written[at++] != QLatin1Char(lower))
            return false;
    }
    return at == written.size();
}

// The elements whose content is shown as if they were not there.
constexpr QLatin1StringView Transparent("contentBody infoControl mediaInteraction prompt rb stimulusBody");
constexpr QLatin1StringView Variables("printedVariable templateBlock templateInline");

bool IsForeign(QStringView name)
{
    static constexpr QStringView known[] = {
        u"http://www.w3.org/1998/Math/MathML",
        u"http://www.w3.org/1999/xhtml",
    };
    return !name.isEmpty() && !name.contains(u"imsqti")
        && std::find(std::begin(known), std::end(known), name) == std::end(known);
}

bool IsPicture(const QString &type, const QString &reference)
{
    static constexpr QStringView endings[]
        = { u".png", u".jpg", u".jpeg", u".gif", u".svg", u".bmp", u".webp", u".tif", u".tiff" };
    if (!type.isEmpty())
        return type.startsWith("image/"_L1, Qt::CaseInsensitive);
    return std::any_of(std::begin(endings), std::end(endings),
                       [&](QStringView ending) { return reference.endsWith(ending, Qt::CaseInsensitive); });
}

}

bool Is(const Xml::Reader &reader, QLatin1StringView name)
{
    const QStringView written = reader.Name();
    return written.startsWith(Prefix) ? IsSame(written.sliced(Prefix.size()), name) : written == name;
}

bool IsOneOf(const Xml::Reader &reader, QLatin1StringView names)
{
    for (qsizetype at = 0; at < names.size();) {
        qsizetype end = names.indexOf(' '_L1, at);
        end = end < 0 ? names.size() : end;
        if (Is(reader, names.sliced(at, end - at)))
            return true;
        at = end + 1;
    }
    return false;
}

QString AttributeOf(const Xml::Reader &reader, QLatin1StringView name)
{
    if (reader.HasAttribute(name))
        return reader.Attribute(name).trimmed();
    QVarLengthArray<char, 64> other;
    for (const char c : name) {
        if (IsUpper(c))
            other.append('-');
        other.append(IsUpper(c) ? static_cast<char>(c - 'A' + 'a') : c);
    }
    return reader.Attribute(QLatin1StringView(other.constData(), other.size())).trimmed();
}

void Append(QString &text, const QString &part)
{
    if (!part.isEmpty())
        text += text.isEmpty() ? part : u"\n<div>"_s + part + u"</div>"_s;
}

QString Joined(const QStringList &parts)
{
    QString text;
    for (const QString &part : parts)
        Append(text, part);
    return text;
}

Markup::Text Html(const QString &source)
{
    return { source.trimmed(), Markup::Kind::Html };
}

QString Content::Read(Xml::Reader &reader)
{
    return reader.Markup([this](Xml::Reader &each, QString &markup) { return Replace(each, markup); });
}

void Content::Warn(const QString &text)
{
    if (m_warnings.size() < static_cast<qsizetype>(MostWarnings) && !m_warnings.contains(text))
        m_warnings.append(text);
}

bool Content::Replace(Xml::Reader &reader, QString &markup)
{
    if (reader.Name() == u"img") {
        PutPicture(markup, reader.Attribute("src"_L1), reader.Attribute("alt"_L1));
        reader.Skip();
        return true;
    }
    if (reader.Name() == u"object")
        return ReplaceObject(reader, markup);
    if (reader.Name() == u"svg") {
        Warn(u"a drawing that stands in its text is left out"_s);
        markup += u"<svg></svg>"_s;
        reader.Skip();
        return true;
    }
    if (reader.Name() == u"include") {
        Warn(u"what its text includes from another file is left out"_s);
        reader.Skip();
        return true;
    }
    if (Is(reader, "stylesheet"_L1)) {
        reader.Skip();
        return true;
    }
    if (IsOneOf(reader, Variables)) {
        m_hasVariables = true;
        reader.Skip();
        return true;
    }
    if (IsOneOf(reader, Transparent) || reader.Name().startsWith(Prefix) || IsForeign(reader.Namespace())) {
        markup += Read(reader);
        return true;
    }
    return false;
}

void Content::PutPicture(QString &markup, const QString &reference, const QString &text) const
{
    QString path = m_folder.isEmpty() ? QString() : Bank::PathOf(reference, m_folder);
    if (path.isEmpty())
        path = reference;
    else
        path.replace(u'%', "%25"_L1).replace(u'?', "%3F"_L1).replace(u'#', "%23"_L1);
    markup += u"<img src=\""_s + path.toHtmlEscaped() + u"\" alt=\""_s + text.simplified().toHtmlEscaped() + u"\">"_s;
}

bool Content::ReplaceObject(Xml::Reader &reader, QString &markup)
{
    const QString reference = reader.Attribute("data"_L1);
    if (!IsPicture(reader.Attribute("type"_L1), reference))
        return false;
    // What it holds is shown where the picture cannot be.
    PutPicture(markup, reference, reader.Text());
    return true;
}

Rubric ReadRubric(Xml::Reader &reader, Content &content)
{
    Rubric rubric;
    rubric.IsForCandidates = AttributeOf(reader, "view"_L1).split(u' ').contains("candidate"_L1);
    rubric.Text = content.Read(reader).trimmed();
    return rubric;
}

}
