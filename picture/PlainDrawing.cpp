// SPDX-License-Identifier: Apache-2.0
#include "picture/PlainDrawing.h"

#include "common/Error.h"
#include "picture/Picture.h"

#include <QBuffer>
#include <QHash>
#include <QRegularExpression>
#include <QSet>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <algorithm>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace PlainDrawing {

namespace {

Error Refused(const QString &text)
{
    return Error(InvalidCall, text, u"PlainDrawing::Of()"_s);
}

const QSet<QString> Drawn = { u"svg"_s,
                              u"g"_s,
                              u"a"_s,
                              u"defs"_s,
                              u"use"_s,
                              u"path"_s,
                              u"rect"_s,
                              u"circle"_s,
                              u"line"_s,
                              u"ellipse"_s,
                              u"polyline"_s,
                              u"polygon"_s,
                              u"text"_s,
                              u"tspan"_s,
                              u"stop"_s,
                              u"linearGradient"_s,
                              u"radialGradient"_s,
                              u"textArea"_s,
                              u"tbreak"_s,
                              u"image"_s,
                              u"style"_s,
                              u"switch"_s };
// They belong to the picture, but the decoder does not know them.
const QSet<QString> Lost = { u"clipPath"_s, u"mask"_s,          u"pattern"_s,      u"filter"_s,  u"marker"_s,
                             u"symbol"_s,   u"foreignObject"_s, u"meshgradient"_s, u"textPath"_s };
const QSet<QString> Written = { u"text"_s, u"tspan"_s, u"textArea"_s, u"style"_s, u"placed"_s };

// Elements as a tree, with the links from each use to what it draws.
class Uses {
public:
    // True when no element before had that identifier.
    bool Begin(const QString &id, const QString &link)
    {
        const auto own = static_cast<int>(m_elements.size());
        if (own == MostElements)
            throw TooMany();
        if (!m_open.empty())
            m_elements[static_cast<size_t>(m_open.back())].Children.push_back(own);
        m_elements.push_back({ {}, link });
        const bool isNew = !m_ids.contains(id);
        if (isNew && !id.isEmpty())
            m_ids.insert(id, own);
        m_open.push_back(own);
        if (m_open.size() > DeepestElement)
            throw TooDeep();
        return isNew;
    }
    void Count(qint64 characters)
    {
        m_elements[static_cast<size_t>(m_open.back())].Characters += characters;
        m_characters += characters;
        if (m_characters > MostDrawnCharacters)
            throw TooMany();
    }
    void End() { m_open.pop_back(); }

    // Raises InvalidCall when the elements are too many, or inside each other
    // without an end.
    void Check()
    {
        if (!m_elements.empty())
            Measure(0, 1);
    }

private:
    struct Element {
        std::vector<int> Children;
        QString Link;
        qint64 Characters = 0;
        qint64 Elements = 0; // with those below; 0 until it is measured
        int Height = 0;
    };

    static Error TooMany() { return Refused(u"The drawing has too many parts"_s); }
    static Error TooDeep() { return Refused(u"The drawing has parts inside each other without an end"_s); }

    void Measure(int number, int depth)
    {
        Element &element = m_elements[static_cast<size_t>(number)];
        if (depth + element.Height > DeepestElement)
            throw TooDeep();
        if (element.Elements > 0)
            return;
        qint64 elements = 1;
        int height = 0;
        const auto add = [&](int below) {
            Measure(below, depth + 1);
            const Element &part = m_elements[static_cast<size_t>(below)];
            elements += part.Elements;
            element.Characters += part.Characters;
            height = std::max(height, part.Height + 1);
            if (elements > MostElements || element.Characters > MostDrawnCharacters)
                throw TooMany();
        };
        for (const int child : element.Children)
            add(child);
        if (const int target = element.Link.isEmpty() ? -1 : m_ids.value(element.Link, -1); target >= 0)
            add(target);
        element.Elements = elements;
        element.Height = height;
    }

    std::vector<Element> m_elements;
    qint64 m_characters = 0;
    std::vector<int> m_open;
    QHash<QString, int> m_ids;
};

// Whether a style or a value of an attribute names nothing but parts of its own
// document.
bool IsLocal(const QString &text)
{
    static const QRegularExpression address(u"@import|url\\(\\s*[\"']?(?!\\s*[\"']?#)"_s,
                                            QRegularExpression::CaseInsensitiveOption);
    return !text.contains(address);
}

class Rewriter {
public:
    Rewriter(const QByteArray &svg, QStringList &losses)
        : m_xml(svg)
        , m_losses(losses)
        , m_out(&m_bytes)
    {
    }

    QByteArray Run()
    {
        m_out.writeStartDocument();
        while (!m_xml.atEnd()) {
            switch (m_xml.readNext()) {
            case QXmlStreamReader::StartElement: Start(); break;
            case QXmlStreamReader::EndElement: End(); break;
            case QXmlStreamReader::Characters: Text(); break;
            default: break;
            }
        }
        if (m_xml.hasError())
            throw Refused(u"The drawing is damaged: "_s + m_xml.errorString());
        m_uses.Check();
        m_out.writeEndDocument();
        return m_bytes;
    }

private:
    void Start()
    {
        QString name = m_xml.name().toString();
        const bool isForeign = !m_xml.namespaceUri().isEmpty() && m_xml.namespaceUri() != "http://www.w3.org/2000/svg"_L1;
        if (m_open.empty() && name != "svg"_L1)
            throw Refused(u"The file is no drawing"_s);
        if (isForeign || !Drawn.contains(name)) {
            const bool hasOther = !m_open.empty() && m_open.back() == "switch"_L1;
            if (!isForeign && !hasOther)
                Lose(name);
            Skip();
            return;
        }
        const QXmlStreamAttributes attributes = m_xml.attributes();
        const bool isInner = name == "svg"_L1 && !m_open.empty();
        if (isInner || name == "a"_L1)
            name = u"g"_s;
        if (!m_open.empty() && IsPlaced(name)) {
            m_out.writeEndElement();
            m_uses.Begin({}, {});
            m_open.push_back(u"placed"_s);
            BeginText(attributes);
            return;
        }
        if (name == "text"_L1) {
            m_text = attributes;
            m_textX = Number(attributes.value("x"_L1), 0);
            m_textY = Number(attributes.value("y"_L1), 0);
        }
        m_out.writeStartElement(name);
        if (m_open.empty()) {
            m_out.writeAttribute(u"xmlns"_s, u"http://www.w3.org/2000/svg"_s);
            m_out.writeAttribute(u"xmlns:xlink"_s, u"http://www.w3.org/1999/xlink"_s);
            RequireSize(attributes);
        }
        const QString link = LinkOf(attributes);
        // Of two elements with one identifier the decoder may take the other.
        const bool isNamed = m_uses.Begin(attributes.value("id"_L1).toString(), name == "use"_L1 ? link.mid(1) : QString());
        m_open.push_back(name);
        WriteLink(name, link);
        for (const QXmlStreamAttribute &attribute : attributes) {
            if (isNamed || attribute.name() != "id"_L1)
                WriteAttribute(attribute, isInner);
        }
        if (isInner)
            Move(attributes);
        // Without it the decoder refuses the gradient.
        if (name == "radialGradient"_L1 && !attributes.hasAttribute("r"_L1) && link.isEmpty())
            m_out.writeAttribute(u"r"_s, u"0.5"_s);
    }

    void End()
    {
        m_out.writeEndElement();
        if (m_open.back() == "placed"_L1)
            BeginText({});
        m_uses.End();
        m_open.pop_back();
    }

    // The decoder does not move to the place of a part of a text: such a part
    // becomes a text of its own.
    bool IsPlaced(const QString &name) const
    {
        const auto attributes = m_xml.attributes();
        const auto has = [&](QLatin1StringView place) { return attributes.hasAttribute(place); };
        return name == "tspan"_L1 && m_open.back() == "text"_L1 && (has("x"_L1) || has("y"_L1) || has("dx"_L1) || has("dy"_L1));
    }

    // The number before a unit, and the first one of several; of an "em" in pixels.
    static double Number(QStringView text, double em)
    {
        static const QRegularExpression number(u"^\\s*([-+]?[0-9]*\\.?[0-9]+)\\s*(em)?"_s);
        const auto match = number.match(text);
        return match.capturedView(1).toDouble() * (match.hasCaptured(2) ? em : 1);
    }

    static double FontSize(const QXmlStreamAttributes &attributes)
    {
        static const QRegularExpression size(u"font-size:([^;]*)"_s);
        constexpr double usual = 16;
        const auto match = size.match(attributes.value("style"_L1));
        const double own = Number(match.hasMatch() ? match.capturedView(1) : attributes.value("font-size"_L1), usual);
        return own > 0 ? own : usual;
    }

    // A text with the attributes of the open one and of a part of it, whose place it
    // takes.
    void BeginText(const QXmlStreamAttributes &part)
    {
        const double em = FontSize(part.hasAttribute("font-size"_L1) || part.hasAttribute("style"_L1) ? part : m_text);
        const auto move = [&](double &at, QLatin1StringView place, QLatin1StringView distance) {
            at = part.hasAttribute(place) ? Number(part.value(place), em) : at;
            at += Number(part.value(distance), em);
        };
        move(m_textX, "x"_L1, "dx"_L1);
        move(m_textY, "y"_L1, "dy"_L1);
        m_out.writeStartElement(u"text"_s);
        m_out.writeAttribute(u"x"_s, QString::number(m_textX));
        m_out.writeAttribute(u"y"_s, QString::number(m_textY));
        static const QSet<QString> own = { u"id"_s, u"x"_s, u"y"_s, u"dx"_s, u"dy"_s, u"style"_s };
        for (const QXmlStreamAttribute &attribute : m_text) {
            if (!own.contains(attribute.name().toString()) && !part.hasAttribute(attribute.name().toString()))
                WriteAttribute(attribute, false);
        }
        for (const QXmlStreamAttribute &attribute : part) {
            if (!own.contains(attribute.name().toString()))
                WriteAttribute(attribute, false);
        }
        const QString style = m_text.value("style"_L1).toString() + u';' + part.value("style"_L1).toString();
        WriteAttribute({ u"style"_s, style }, false);
    }

    void Lose(const QString &name)
    {
        const QString loss = u'<' + name + u'>';
        if (Lost.contains(name) && !m_losses.contains(loss))
            m_losses.append(loss);
    }

    // Not skipCurrentElement, which takes a stack as deep as the element.
    void Skip()
    {
        for (int depth = 1; depth > 0 && !m_xml.atEnd();) {
            const auto token = m_xml.readNext();
            depth += token == QXmlStreamReader::StartElement ? 1 : token == QXmlStreamReader::EndElement ? -1 : 0;
        }
    }

    // The decoder takes a side of any size for a number of pixels.
    static void RequireSize(const QXmlStreamAttributes &attributes)
    {
        for (const auto side : { "width"_L1, "height"_L1 }) {
            static const QRegularExpression number(
                u"^\\s*\\+?([0-9]{0,6}(\\.[0-9]{1,12})?)\\s*(px|pt|pc|mm|cm|in|em|ex|%)?\\s*$"_s);
            if (attributes.hasAttribute(side) && attributes.value(side) != "auto"_L1
                && !number.match(attributes.value(side)).hasMatch())
                throw Refused(u"The drawing has no size, or is too large"_s);
        }
    }

    static QString LinkOf(const QXmlStreamAttributes &attributes)
    {
        const QString newer = attributes.value("href"_L1).toString();
        const QString link
            = newer.isEmpty() ? attributes.value("http://www.w3.org/1999/xlink"_L1, "href"_L1).toString() : newer;
        return link.trimmed();
    }

    void WriteLink(const QString &name, const QString &link)
    {
        if (link.isEmpty() || name == "g"_L1)
            return;
        if (name == "image"_L1)
            m_out.writeAttribute(u"xlink:href"_s, Picture(link));
        else if (link.startsWith(u'#'))
            m_out.writeAttribute(u"xlink:href"_s, link);
        else
            throw Refused(u"The drawing refers to other files"_s);
    }

    void WriteAttribute(const QXmlStreamAttribute &attribute, bool isInner)
    {
        const QString name = attribute.name().toString();
        const QString value = attribute.value().toString();
        static const QSet<QString> ofInner = { u"x"_s, u"y"_s, u"width"_s, u"height"_s, u"viewBox"_s, u"transform"_s };
        if (!attribute.namespaceUri().isEmpty() || name == "href"_L1 || (isInner && ofInner.contains(name)))
            return;
        if (!IsLocal(value))
            throw Refused(u"The drawing refers to other files"_s);
        m_uses.Count(value.size());
        m_out.writeAttribute(name, value);
    }

    // A drawing inside a drawing becomes a group at its place.
    void Move(const QXmlStreamAttributes &attributes)
    {
        const auto number = [&](QLatin1StringView name) { return QString::number(attributes.value(name).toDouble()); };
        m_out.writeAttribute(u"transform"_s, u"translate(%1 %2)"_s.arg(number("x"_L1), number("y"_L1)));
        const QStringList box = attributes.value("viewBox"_L1).toString().simplified().replace(u',', u' ').split(u' ');
        if (attributes.hasAttribute("viewBox"_L1) && (box.value(2) != attributes.value("width"_L1) || box.value(0) != "0"_L1))
            m_losses.append(u"the scale of <svg> in <svg>"_s);
    }

    // A picture in the drawing, without what a decoder could stumble over.
    QString Picture(const QString &link)
    {
        static const QRegularExpression start(u"^data:image/(png|jpe?g|gif|bmp);base64,"_s,
                                              QRegularExpression::CaseInsensitiveOption);
        const auto match = start.match(link);
        if (!match.hasMatch())
            throw Refused(u"The drawing refers to other files"_s);
        const QImage image = Picture::Decode(QByteArray::fromBase64(QStringView(link).sliced(match.capturedEnd()).toLatin1()));
        m_pixels += qint64(image.width()) * image.height();
        if (m_pixels > Picture::MostPixels)
            throw Refused(u"The pictures in the drawing are too large"_s);
        QBuffer png;
        image.save(&png, "PNG");
        return u"data:image/png;base64,"_s + QString::fromLatin1(png.data().toBase64());
    }

    void Text()
    {
        if (m_open.empty() || !Written.contains(m_open.back()))
            return;
        const QString text = m_xml.text().toString();
        if (m_open.back() == "style"_L1 && !IsLocal(text))
            throw Refused(u"The drawing refers to other files"_s);
        m_uses.Count(text.size());
        m_out.writeCharacters(text);
    }

    QXmlStreamReader m_xml;
    QStringList &m_losses;
    QByteArray m_bytes;
    QXmlStreamWriter m_out;
    Uses m_uses;
    std::vector<QString> m_open;
    qint64 m_pixels = 0;
    QXmlStreamAttributes m_text; // of the open text, and where its next part stands
    double m_textX = 0;
    double m_textY = 0;
};

}

QByteArray Of(const QByteArray &svg, QStringList &losses)
{
    return Rewriter(svg, losses).Run();
}

}
