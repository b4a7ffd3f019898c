// SPDX-License-Identifier: Apache-2.0
#include "markup/MathMl.h"

#include "markup/Entities.h"
#include "markup/Formula.h"
#include "markup/Html.h"
#include "markup/Tex.h"

#include <QRegularExpression>

#include <algorithm>
#include <array>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace MathMl {

namespace {

using Formula::Part;
using Formula::Shape;

constexpr size_t Deepest = 60;

struct Node {
    QString Name; // without its prefix
    QStringView Tag;
    QString Text;
    std::vector<Node> Children;
};

// The elements of a formula; what is not well-formed gives some tree.
class Builder {
public:
    explicit Builder(QStringView source)
        : m_source(source)
    {
    }

    bool IsTooDeep = false;

    Node Build()
    {
        Node root;
        ReadInto(root, 0);
        return root;
    }

private:
    void ReadInto(Node &node, size_t depth)
    {
        while (m_at < m_source.size()) {
            if (m_source.at(m_at) != u'<') {
                const qsizetype end = EndOf(m_source.indexOf(u'<', m_at));
                node.Text += Entities::Resolved(m_source.sliced(m_at, end - m_at));
                m_at = end;
                continue;
            }
            const qsizetype end = TagEnd();
            const QStringView tag = m_source.sliced(m_at, end - m_at);
            m_at = end;
            if (tag.startsWith(u"</"))
                return;
            if (tag.startsWith(u"<!") || tag.startsWith(u"<?"))
                continue;
            Node child;
            child.Tag = tag;
            child.Name = NameOf(tag);
            IsTooDeep = IsTooDeep || depth == Deepest;
            if (!tag.endsWith(u"/>") && depth < Deepest)
                ReadInto(child, depth + 1);
            node.Children.push_back(std::move(child));
        }
    }

    qsizetype EndOf(qsizetype found) const { return found < 0 ? m_source.size() : found; }

    qsizetype TagEnd() const
    {
        QChar quote;
        for (qsizetype at = m_at; at < m_source.size(); ++at) {
            const QChar c = m_source.at(at);
            if (!quote.isNull())
                quote = c == quote ? QChar() : quote;
            else if (c == u'"' || c == u'\'')
                quote = c;
            else if (c == u'>')
                return at + 1;
        }
        return m_source.size();
    }

    static QString NameOf(QStringView tag)
    {
        qsizetype end = 1;
        while (end < tag.size() && !tag.at(end).isSpace() && tag.at(end) != u'>' && tag.at(end) != u'/')
            ++end;
        const QStringView name = tag.sliced(1, end - 1);
        return name.sliced(name.lastIndexOf(u':') + 1).toString().toLower();
    }

    QStringView m_source;
    qsizetype m_at = 0;
};

bool IsThin(const Node &node)
{
    static const QRegularExpression zero(u"^\\s*0*\\.?0+\\s*[a-z%]*\\s*$"_s);
    return node.Name == "mfrac"_L1 && node.Children.size() == 2
        && zero.match(Html::Attribute(node.Tag, "linethickness"_L1).toLower()).hasMatch();
}

class Speller {
public:
    bool IsFailed = false;
    QStringList Warnings;

    Part Spell(const Node &node)
    {
        static constexpr std::array rows = { "math"_L1, "mrow"_L1, "mstyle"_L1, "mpadded"_L1, "merror"_L1, "maction"_L1 };
        static constexpr std::array nothing = { "mphantom"_L1, "annotation"_L1, "annotation-xml"_L1, "none"_L1 };
        const QString &name = node.Name;
        const auto isOneOf = [&name](const auto &names) { return std::find(names.begin(), names.end(), name) != names.end(); };
        if (isOneOf(rows))
            return SpellRow(node);
        if (isOneOf(nothing))
            return {};
        if (name.size() == 2 || name == "mtext"_L1 || name == "mspace"_L1)
            return SpellToken(node);
        if (name == "semantics"_L1)
            return SpellSemantics(node);
        if (name == "mfenced"_L1)
            return SpellFenced(node);
        if (name == "msqrt"_L1)
            return Formula::Root(SpellRow(node), {});
        if (name == "menclose"_L1)
            return SpellEnclosed(node);
        if (name == "munder"_L1 && node.Children.size() == 2 && IsLine(node.Children.back())) {
            Warnings.append(u"underlined text is shown like any other"_s);
            return Spell(node.Children.front());
        }
        if (name == "mover"_L1 && node.Children.size() == 2) {
            const Part accented = SpellAccent(node);
            if (accented.Shape != Shape::Empty)
                return accented;
        }
        return SpellPair(node);
    }

    Part SpellRow(const Node &node)
    {
        // Text stands in elements of its own.
        IsFailed = IsFailed || !node.Text.trimmed().isEmpty();
        Formula::Row row;
        for (size_t i = 0; i < node.Children.size(); ++i) {
            const bool isBinomial = i + 2 < node.Children.size() && IsSign(node.Children[i], u'(')
                && IsThin(node.Children[i + 1]) && IsSign(node.Children[i + 2], u')');
            row.Add(isBinomial ? Binomial(node.Children[i + 1]) : Spell(node.Children[i]));
            i += isBinomial ? 2 : 0;
        }
        return row.Whole();
    }

private:
    static bool IsSign(const Node &node, QChar sign) { return node.Name == "mo"_L1 && node.Text.trimmed() == sign; }

    static bool IsLine(const Node &node)
    {
        const QString text = node.Text.simplified();
        return text.size() == 1 && u"_\u0332\u00AF\u203E\u2015-"_s.contains(text.front());
    }

    Part Binomial(const Node &fraction)
    {
        const Part above = Spell(fraction.Children.front());
        return { u"C("_s + above.Text + u", "_s + Spell(fraction.Children.back()).Text + u')', Shape::Letter };
    }

    // One above the other without a line between them.
    Part SpellStack(const Part &above, const Part &below)
    {
        const QString text = u'(' + above.Text + u' ' + below.Text + u')';
        Warnings.append(u"what stands one above the other in a formula stands side by side: %1"_s.arg(text));
        return { text, Shape::Letter };
    }

    Part SpellEnclosed(const Node &node)
    {
        const QString notation = Html::Attribute(node.Tag, "notation"_L1).simplified().toLower();
        const Part content = SpellRow(node);
        if (notation == "radical"_L1)
            return Formula::Root(content, {});
        const Part overlined = notation == "top"_L1 ? Formula::WithAccent(content, u'\u0304') : Part();
        if (overlined.Shape != Shape::Empty)
            return overlined;
        Warnings.append(u"the lines at a part of a formula (%1) are not shown"_s.arg(notation.isEmpty() ? u"longdiv"_s
                                                                                                        : notation.left(40)));
        return content;
    }

    Part SpellToken(const Node &node)
    {
        QString text = node.Text.simplified();
        if (node.Name == "mspace"_L1)
            return { u" "_s, Shape::Blank };
        if (!node.Children.empty())
            IsFailed = true;
        if (node.Name == "mtext"_L1) {
            text = node.Text;
            text.replace(QChar(QChar::Nbsp), u' ');
            return { text, text.isEmpty() ? Shape::Empty : text.trimmed().isEmpty() ? Shape::Blank : Shape::Name };
        }
        if (node.Name == "mn"_L1)
            return { text, text.isEmpty() ? Shape::Empty : Shape::Number };
        // What is meant, but not written: an application, a product, a comma, a sum.
        if (text.isEmpty() || (text.size() == 1 && text.front() >= u'\u2061' && text.front() <= u'\u2064'))
            return {};
        if (text == u"\u2026"_s || text == u"\u22EF"_s)
            return { u"\u2026"_s, Shape::Letter };
        if (text == u"..."_s || (node.Name != "mo"_L1 && node.Name != "mi"_L1))
            return { text, Shape::Letter };
        return text.size() == 1 && !text.front().isLetter() ? Formula::Sign(text) : Formula::Word(text);
    }

    Part SpellSemantics(const Node &node)
    {
        if (!node.Children.empty()) {
            const Part part = Spell(node.Children.front());
            if (part.Shape != Shape::Empty)
                return part;
        }
        for (const Node &child : node.Children) {
            const bool isTex = Html::Attribute(child.Tag, "encoding"_L1).contains("tex"_L1, Qt::CaseInsensitive);
            const std::optional<QString> text = isTex ? Tex::Read(child.Text) : std::nullopt;
            if (text)
                return { *text, Shape::Sum };
        }
        return {};
    }

    Part SpellFenced(const Node &node)
    {
        const auto attribute = [&node](QLatin1StringView name, const QString &usual) {
            const QString value = Html::Attribute(node.Tag, name);
            return value.isNull() ? usual : value.simplified();
        };
        const QString separators = attribute("separators"_L1, u","_s);
        Formula::Row row;
        const auto put = [&row](const QString &sign) { row.Add(sign.isEmpty() ? Part() : Formula::Sign(sign)); };
        const Node *only = node.Children.size() == 1 ? &node.Children.front() : nullptr;
        if (only && only->Name == "mrow"_L1 && only->Children.size() == 1)
            only = &only->Children.front();
        if (only && IsThin(*only) && attribute("open"_L1, u"("_s) == u"("_s && attribute("close"_L1, u")"_s) == u")"_s)
            return Binomial(*only);
        put(attribute("open"_L1, u"("_s));
        for (size_t i = 0; i < node.Children.size(); ++i) {
            if (i > 0 && !separators.isEmpty())
                put(separators.mid(std::min<qsizetype>(static_cast<qsizetype>(i) - 1, separators.size() - 1), 1));
            row.Add(Spell(node.Children.at(i)));
        }
        put(attribute("close"_L1, u")"_s));
        return row.Whole();
    }

    // Empty when what stands above is no accent.
    Part SpellAccent(const Node &node)
    {
        struct Accent {
            std::u16string_view Written;
            char16_t Combining;
        };
        static constexpr std::array accents = { Accent{ u"\u00AF\u203E\u0304\u0305\u2015_-", u'\u0304' },
                                                Accent{ u"^\u02C6\u0302", u'\u0302' },
                                                Accent{ u"~\u02DC\u0303", u'\u0303' },
                                                Accent{ u"\u2192\u20D7\u21C0", u'\u20D7' },
                                                Accent{ u".\u02D9\u0307", u'\u0307' },
                                                Accent{ u"\u00A8\u0308", u'\u0308' } };
        const QString above = node.Children.back().Text.simplified();
        for (const Accent &accent : accents) {
            if (above.size() == 1 && accent.Written.find(above.front().unicode()) != accent.Written.npos)
                return Formula::WithAccent(Spell(node.Children.front()), accent.Combining);
        }
        return {};
    }

    // Elements of two or three parts.
    Part SpellPair(const Node &node)
    {
        IsFailed = IsFailed || !node.Text.trimmed().isEmpty();
        const bool isTriple = node.Name == "msubsup"_L1 || node.Name == "munderover"_L1;
        if (node.Children.size() != (isTriple ? 3U : 2U)) {
            IsFailed = true;
            return {};
        }
        const Part first = Spell(node.Children.at(0));
        const Part second = Spell(node.Children.at(1));
        if (isTriple)
            return Formula::WithScripts(first, second, Spell(node.Children.at(2)));
        if (node.Name == "msup"_L1 || node.Name == "mover"_L1)
            return Formula::WithScripts(first, {}, second);
        if (node.Name == "msub"_L1 || node.Name == "munder"_L1)
            return Formula::WithScripts(first, second, {});
        if (IsThin(node))
            return SpellStack(first, second);
        if (node.Name == "mfrac"_L1)
            return Formula::Fraction(first, second);
        if (node.Name == "mroot"_L1)
            return Formula::Root(first, second);
        IsFailed = true;
        return {};
    }
};

QString CharactersOf(const Node &node)
{
    QString text = node.Text;
    for (const Node &child : node.Children)
        text += child.Name.startsWith("annotation"_L1) ? QString() : u' ' + CharactersOf(child);
    return text;
}

}

QString Read(QStringView source, QStringList &warnings)
{
    Builder builder(source);
    const Node root = builder.Build();
    Speller speller;
    const QString text = speller.SpellRow(root).Text.simplified();
    if (!speller.IsFailed && !builder.IsTooDeep) {
        warnings += speller.Warnings;
        return text;
    }
    const QString characters = CharactersOf(root).simplified();
    constexpr qsizetype longest = 60;
    warnings.append(u"of a formula that is too complex only the characters remain: %1"_s.arg(
        characters.size() > longest ? characters.first(longest) + u'\u2026' : characters));
    return characters;
}

}
