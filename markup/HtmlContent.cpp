// SPDX-License-Identifier: Apache-2.0
#include "markup/HtmlContent.h"

#include "markup/MathMl.h"
#include "markup/Tex.h"

using namespace Qt::Literals::StringLiterals;

namespace Markup {

namespace {

using Html::Piece;
using Html::Role;

Content OfTex(const QString &source)
{
    const std::optional<QString> text = Tex::Read(source);
    return text ? Content{ *text, {}, {} } : Content{ source, {}, { Tex::TooComplex(source) } };
}

Content OfMathMl(QStringView source)
{
    Content content;
    content.Text = MathMl::Read(source, content.Warnings);
    return content;
}

Content OfPicture(const QString &source, const QString &alt)
{
    return { {}, Picture{ source.trimmed(), alt }, {} };
}

Content OfPlayed(const Piece &tag)
{
    return { u'[' + QString(tag.Element->Name) + u']',
             {},
             { u"what is played or embedded (%1) is left out"_s.arg(tag.Element->Name) } };
}

// Learning platforms keep the source of a formula beside its picture.
Content OfPictureTag(const Piece &tag)
{
    constexpr QLatin1StringView prefix = "LaTeX:"_L1;
    const QString alt = Html::Attribute(tag.Source, "alt"_L1).trimmed();
    const QString kind = Html::Attribute(tag.Source, "class"_L1);
    const QString tex = Html::Attribute(tag.Source, "data-equation-content"_L1).trimmed();
    QString mathMl = Html::Attribute(tag.Source, "data-mathml"_L1);
    if (!tex.isEmpty())
        return OfTex(tex);
    if (kind.contains("texrender"_L1) && !alt.isEmpty())
        return OfTex(alt);
    if (kind.contains("equation_image"_L1) && alt.startsWith(prefix))
        return OfTex(alt.sliced(prefix.size()));
    if (mathMl.isEmpty())
        return OfPicture(Html::Attribute(tag.Source, "src"_L1), alt);
    // Its tags are written in signs that an attribute can hold.
    mathMl.replace(u'\u00AB', u'<').replace(u'\u00BB', u'>').replace(u'\u00A8', u'"').replace(u'\u00A7', u'&');
    return OfMathMl(mathMl);
}

Content OfObject(const Piece &tag)
{
    if (!Html::Attribute(tag.Source, "type"_L1).startsWith("image/"_L1))
        return OfPlayed(tag);
    return OfPicture(Html::Attribute(tag.Source, tag.Is("object"_L1) ? "data"_L1 : "src"_L1), {});
}

Content OfDrawing(const Piece &tag)
{
    const bool isWhole = tag.Source.endsWith(u"svg>", Qt::CaseInsensitive);
    const QString address = u"data:image/svg+xml;base64,"_s + QString::fromLatin1(tag.Source.toUtf8().toBase64());
    return isWhole ? OfPicture(address, Html::Attribute(tag.Source, "aria-label"_L1).trimmed()) : Content();
}

Content OfField(const Piece &tag)
{
    const QString type = Html::Attribute(tag.Source, "type"_L1).toLower();
    const bool isGap = type.isEmpty() || type == "text"_L1 || type == "number"_L1;
    return { isGap ? u"_____"_s : QString(), {}, {} };
}

// Some pages keep formulas in scripts.
Content OfScript(const Piece &tag)
{
    const qsizetype start = tag.Source.indexOf(u'>') + 1;
    const qsizetype end = tag.Source.lastIndexOf(u"</");
    const bool isFormula = Html::Attribute(tag.Source, "type"_L1).startsWith("math/tex"_L1) && end > start;
    return isFormula ? OfTex(tag.Source.sliced(start, end - start).toString()) : Content();
}

}

Content ContentOf(const Piece &tag)
{
    switch (tag.RoleOf()) {
    case Role::Picture: return OfPictureTag(tag);
    case Role::Object: return OfObject(tag);
    case Role::Drawing: return OfDrawing(tag);
    case Role::Played: return OfPlayed(tag);
    case Role::Formula: return OfMathMl(tag.Source);
    case Role::Field: return OfField(tag);
    case Role::Hidden: return OfScript(tag);
    default: return {};
    }
}

}
