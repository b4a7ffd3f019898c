// SPDX-License-Identifier: Apache-2.0
#include "bank/Xml.h"

#include "bank/Encoding.h"
#include "common/Error.h"
#include "markup/Entities.h"

#include <QRegularExpression>
#include <QStringDecoder>

#include <algorithm>
#include <cstring>

using namespace Qt::Literals::StringLiterals;

namespace Xml {

namespace {

constexpr qsizetype BeginningLength = 64 * 1024;
// Characters of a message, which can quote the document.
constexpr qsizetype MostShown = 200;

// The declaration at the head of a document.
struct Declaration {
    qsizetype Length = 0; // 0 when there is none
    QString Encoding; // empty when it names none
    // Of XML 1.0 in UTF-8.
    bool IsUsual = true;
};

// Of a document whose declaration is readable as ASCII. Some programs write blank lines in
// front of it, which count as a part of it here.
Declaration DeclarationOf(const QByteArray &bytes)
{
    const QByteArray beginning = bytes.first(std::min<qsizetype>(bytes.size(), 1024));
    const qsizetype end = beginning.indexOf("?>");
    if (!beginning.trimmed().startsWith("<?xml") || end < 0)
        return {};
    static const QRegularExpression usual(u"^<\\?xml\\s+version\\s*=\\s*[\"']1\\.0[\"']"_s);
    static const QRegularExpression encoding(u"\\bencoding\\s*=\\s*[\"']\\s*([\\w.:-]{1,40})\\s*[\"']"_s);
    const QString text = QString::fromLatin1(bytes.first(end));
    Declaration declaration{ end + 2, encoding.match(text).captured(1) };
    declaration.IsUsual = usual.match(text).hasMatch() && declaration.Encoding.compare("utf-8"_L1, Qt::CaseInsensitive) == 0;
    return declaration;
}

// UTF-16 without a byte order mark: its first character is a "<".
std::optional<QStringConverter::Encoding> WideEncodingOf(const QByteArray &bytes)
{
    const auto encoding = QStringConverter::encodingForData(bytes, u'<');
    return encoding == QStringConverter::Utf8 ? std::nullopt : encoding;
}

// The document as UTF-8. A declaration that would have the parser decode it again, or
// refuse it for a version that makes no difference, is blank.
QByteArray Decoded(QByteArray bytes, const QString &source, const QString &undeclared)
{
    // Saves time where a package has many documents.
    if (bytes.startsWith("<?xml version=\"1.0\" encoding=\"UTF-8\"?>"))
        return bytes;
    if (const auto wide = WideEncodingOf(bytes)) {
        QStringDecoder decoder(*wide);
        bytes = QString(decoder(bytes)).toUtf8();
    } else {
        QString encoding = DeclarationOf(bytes).Encoding;
        // A declaration that can be read here is not in UTF-16, whatever it says.
        if (Bank::UnicodeOf(encoding))
            encoding.clear();
        if (encoding.isEmpty() && !bytes.isValidUtf8())
            encoding = undeclared;
        const std::optional<QByteArray> utf8 = Bank::ToUtf8(bytes, encoding);
        if (!utf8)
            throw Error(InvalidCall, u"line 1: the encoding \"%1\" is not known"_s.arg(encoding), source);
        bytes = *utf8;
    }
    if (const Declaration declaration = DeclarationOf(bytes); declaration.Length > 0 && !declaration.IsUsual) {
        const qsizetype lines = bytes.first(declaration.Length).count('\n');
        bytes.replace(0, declaration.Length, QByteArray(lines, '\n') + QByteArray(declaration.Length - lines, ' '));
    }
    return bytes;
}

const QString TooLong = u"a text is longer than %1 MB"_s.arg(MostText >> 20);

// What must not reach the parser, which takes it in at once and in a time that grows
// by its square, or by what it declares.
class Guard {
public:
    explicit Guard(const QByteArray &bytes)
        : m_begin(bytes.constData())
        , m_end(bytes.constData() + bytes.size())
        , m_at(bytes.constData())
    {
    }

    // The first place of something that is not allowed; the number of the bytes when
    // there is none.
    qsizetype Find()
    {
        while (true) {
            const char *text = m_at;
            m_at = To('<', m_at);
            const char *tag = m_at;
            if (tag - text > MostText) {
                m_problem = TooLong;
                return text - m_begin;
            }
            if (tag == m_end)
                return m_end - m_begin;
            PassOne();
            if (m_at - tag > MostText)
                m_problem = TooLong;
            if (!m_problem.isEmpty())
                return tag - m_begin;
        }
    }

    const QString &Problem() const { return m_problem; }

private:
    const char *To(char wanted, const char *from) const
    {
        const void *found = std::memchr(from, wanted, static_cast<size_t>(m_end - from));
        return found ? static_cast<const char *>(found) : m_end;
    }

    bool Starts(QByteArrayView text) const
    {
        return m_end - m_at >= text.size() && std::memcmp(m_at, text.data(), static_cast<size_t>(text.size())) == 0;
    }

    bool Pass(QByteArrayView opening, QByteArrayView closing)
    {
        if (!Starts(opening))
            return false;
        m_at += opening.size();
        for (m_at = To(closing.front(), m_at); m_at < m_end; m_at = To(closing.front(), m_at + 1)) {
            if (Starts(closing)) {
                m_at += closing.size();
                break;
            }
        }
        return true;
    }

    // What begins with this "<".
    void PassOne()
    {
        if (Pass("<!--", "-->") || Pass("<![CDATA[", "]]>") || Pass("<?", "?>"))
            return;
        if (Starts("<!"))
            PassDocumentType();
        else
            PassTag();
    }

    void PassDocumentType()
    {
        for (; m_at < m_end && *m_at != '>'; ++m_at) {
            if (*m_at == '[')
                m_problem = u"its document type declares something, which is not read"_s;
            if (*m_at == '"' || *m_at == '\'')
                m_at = To(*m_at, m_at + 1);
            if (m_at == m_end)
                return;
        }
    }

    void PassTag()
    {
        int attributes = 0;
        for (; m_at < m_end && *m_at != '>'; ++m_at) {
            if (*m_at == '=' && ++attributes > MostAttributes)
                m_problem = u"an element has more than %1 attributes"_s.arg(MostAttributes);
            if (*m_at == '"' || *m_at == '\'')
                m_at = To(*m_at, m_at + 1);
            if (m_at == m_end)
                return;
        }
    }

    const char *m_begin;
    const char *m_end;
    const char *m_at;
    QString m_problem;
};

// Documents use the entities of HTML without declaring them, or declare them in a file
// that is not loaded.
class HtmlEntities : public QXmlStreamEntityResolver {
public:
    QString resolveUndeclaredEntity(const QString &name) override
    {
        const QString text = Entities::TextOf(u'&' + name + u';');
        // What is returned is read as XML.
        return text == "<"_L1 || text == "&"_L1 ? QString() : text;
    }
};

// An element that has no end tag in HTML.
bool IsVoid(QStringView name)
{
    static constexpr QStringView names[]
        = { u"area", u"br", u"col", u"embed", u"hr", u"img", u"input", u"source", u"track", u"wbr" };
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

// "&#13;" is no control character in a text but the line break of another system.
QString WithLineBreaks(QString &&text)
{
    if (!text.contains(u'\r'))
        return std::move(text);
    QChar *out = text.data();
    for (qsizetype in = 0; in < text.size(); ++in) {
        const bool isPair = text.at(in) == u'\r' && in + 1 < text.size() && text.at(in + 1) == u'\n';
        if (!isPair)
            *out++ = text.at(in) == u'\r' ? QChar(u'\n') : text.at(in);
    }
    text.truncate(out - text.constData());
    return std::move(text);
}

void AppendEscaped(QString &markup, QStringView text)
{
    qsizetype done = 0;
    for (qsizetype at = 0; at < text.size(); ++at) {
        const QChar c = text[at];
        if (c != u'<' && c != u'>' && c != u'&' && c != u'"')
            continue;
        markup += text.sliced(done, at - done);
        markup += c == u'<' ? "&lt;"_L1 : c == u'>' ? "&gt;"_L1 : c == u'&' ? "&amp;"_L1 : "&quot;"_L1;
        done = at + 1;
    }
    markup += text.sliced(done);
}

void AppendEndTag(QString &markup, QStringView name)
{
    markup += "</"_L1;
    markup += name;
    markup += u'>';
}

void AppendStartTag(QString &markup, const QXmlStreamReader &reader)
{
    markup += u'<';
    markup += reader.name();
    for (const QXmlStreamAttribute &attribute : reader.attributes()) {
        markup += u' ';
        markup += attribute.name();
        markup += "=\""_L1;
        AppendEscaped(markup, attribute.value());
        markup += u'"';
    }
    markup += u'>';
}

}

std::optional<Beginning> BeginningOf(const QByteArray &bytes)
{
    try {
        Reader reader(bytes.first(std::min(bytes.size(), BeginningLength)), {});
        if (!reader.NextChild())
            return {};
        Beginning beginning{ reader.Name().toString(), reader.Namespace().toString(), {} };
        try {
            if (reader.NextChild())
                beginning.Child = reader.Name().toString();
        } catch (const Error &) {
            // Cut short, or wrong behind the root: what it was meant to be is known.
        }
        return beginning;
    } catch (const Error &) {
        return {};
    }
}

Reader::Reader(const QByteArray &bytes, QString source, const QString &undeclared)
    : m_source(std::move(source))
    , m_bytes(Decoded(bytes, m_source, undeclared))
{
    if (const qsizetype valid = Bank::ValidUtf8(m_bytes); valid < m_bytes.size()) {
        m_problem = u"it holds bytes that are not UTF-8"_s;
        m_bytes.truncate(valid);
    }
    Guard guard(m_bytes);
    if (const qsizetype allowed = guard.Find(); allowed < m_bytes.size()) {
        m_problem = guard.Problem();
        m_bytes.truncate(allowed);
    }
    m_declaresNamespaces = m_bytes.contains("xmlns");
    m_buffer.setBuffer(&m_bytes);
    m_buffer.open(QIODevice::ReadOnly);
    m_reader.setDevice(&m_buffer);
    static HtmlEntities entities;
    m_reader.setEntityResolver(&entities);
}

void Reader::FailAt(qint64 line, const QString &text) const
{
    const QString shown = text.size() <= MostShown ? text : text.first(MostShown) + u"..."_s;
    throw Error(InvalidCall, u"line %1: %2"_s.arg(line).arg(shown.simplified()), m_source);
}

void Reader::Fail(const QString &text) const
{
    FailAt(m_reader.lineNumber(), text);
}

void Reader::CheckLength(const QString &text) const
{
    if (text.size() > MostText)
        Fail(TooLong);
}

void Reader::Enter()
{
    const int declared = m_declaresNamespaces ? static_cast<int>(m_reader.namespaceDeclarations().size()) : 0;
    m_namespaces.push_back(declared);
    m_namespaceCount += declared;
    if (m_namespaces.size() > MostDepth)
        Fail(u"an element stands in more than %1 others"_s.arg(MostDepth));
    if (m_namespaceCount > MostNamespaces)
        Fail(u"more than %1 namespaces are declared"_s.arg(MostNamespaces));
}

QXmlStreamReader::TokenType Reader::Next()
{
    const QXmlStreamReader::TokenType token = m_reader.readNext();
    if (token == QXmlStreamReader::StartElement) {
        Enter();
    } else if (token == QXmlStreamReader::EndElement) {
        m_namespaceCount -= m_namespaces.back();
        m_namespaces.pop_back();
    }
    const bool isAtEnd
        = token == QXmlStreamReader::EndDocument || m_reader.error() == QXmlStreamReader::PrematureEndOfDocumentError;
    if (isAtEnd && !m_problem.isEmpty())
        FailAt(1 + m_bytes.count('\n'), m_problem);
    if (token == QXmlStreamReader::EntityReference)
        Fail(u"the entity \"%1\" is not known"_s.arg(m_reader.name()));
    if (token == QXmlStreamReader::Invalid)
        Fail(m_reader.errorString());
    return token;
}

bool Reader::NextChild()
{
    while (true) {
        switch (Next()) {
        case QXmlStreamReader::StartElement: return true;
        case QXmlStreamReader::EndElement:
        case QXmlStreamReader::EndDocument: return false;
        default: break;
        }
    }
}

void Reader::Finish()
{
    NextChild();
}

void Reader::Skip()
{
    const size_t depth = m_namespaces.size();
    while (m_namespaces.size() >= depth)
        Next();
}

QString Reader::Text()
{
    const size_t depth = m_namespaces.size();
    QString text;
    while (m_namespaces.size() >= depth) {
        if (Next() == QXmlStreamReader::Characters)
            text += m_reader.text();
        CheckLength(text);
    }
    return WithLineBreaks(std::move(text));
}

QString Reader::Markup(const Replacement &replacement)
{
    QString markup;
    ReadMarkup(markup, m_namespaces.size(), replacement);
    return WithLineBreaks(std::move(markup));
}

QString Reader::TextOrMarkup(bool &isMarkup)
{
    const size_t depth = m_namespaces.size();
    QString text;
    isMarkup = false;
    while (m_namespaces.size() >= depth) {
        const QXmlStreamReader::TokenType token = Next();
        if (token == QXmlStreamReader::Characters) {
            text += m_reader.text();
            CheckLength(text);
        } else if (token == QXmlStreamReader::StartElement) {
            isMarkup = true;
            text = text.toHtmlEscaped();
            AppendStartTag(text, m_reader);
            ReadMarkup(text, depth, {});
        }
    }
    return WithLineBreaks(std::move(text));
}

// Reads on to the end of the element of that depth.
void Reader::ReadMarkup(QString &markup, size_t depth, const Replacement &replacement)
{
    while (m_namespaces.size() >= depth) {
        const QXmlStreamReader::TokenType token = Next();
        if (token == QXmlStreamReader::Characters)
            AppendEscaped(markup, m_reader.text());
        else if (token == QXmlStreamReader::StartElement && !(replacement && replacement(*this, markup)))
            AppendStartTag(markup, m_reader);
        else if (token == QXmlStreamReader::EndElement && m_namespaces.size() >= depth && !IsVoid(m_reader.name()))
            AppendEndTag(markup, m_reader.name());
        CheckLength(markup);
    }
}

}
