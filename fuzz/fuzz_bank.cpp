// SPDX-License-Identifier: Apache-2.0
#include "bank/Formats.h"
#include "common/Error.h"
#include "markup/PlainText.h"

#include <QGuiApplication>
#include <QRegularExpression>

#include <cstdio>
#include <cstdlib>

using namespace Qt::Literals::StringLiterals;

// Any bytes as a question bank of one format, BANK_FORMAT: recognised, read, the
// pictures looked for, every text made readable.

namespace {

void Require(bool condition, const char *what)
{
    if (condition)
        return;
    std::fprintf(stderr, "violated: %s\n", what);
    std::abort();
}

// A folder in which every file has the same content.
class SameFiles : public Bank::Files {
public:
    explicit SameFiles(QByteArray bytes)
        : m_bytes(std::move(bytes))
    {
    }

    std::optional<QByteArray> Read(const QString &path) const override
    {
        return Paths().contains(path) ? std::optional(m_bytes) : std::nullopt;
    }

    QStringList Paths() const override { return { u"a.png"_s, u"imsmanifest.xml"_s, u"item.xml"_s }; }

private:
    QByteArray m_bytes;
};

class Reader : public Bank::Receiver {
public:
    void Add(Bank::Item &&item) override
    {
        Require(item.Line >= 0, "a line");
        if (!item.Refusal.isEmpty())
            return;
        Require(!item.Options.empty(), "options of an item that is not refused");
        Look(item, item.Passage);
        Look(item, item.Problem);
        Look(item, item.Feedback);
        for (const Bank::Option &option : item.Options) {
            Look(item, option.Statement);
            Look(item, option.Feedback);
        }
    }

    void SetName(const QString &) override { }
    void Warn(int line, const QString &text) override
    {
        Require(line >= 0 && !text.isEmpty(), "a warning that says something");
    }

private:
    static void Look(const Bank::Item &item, const Markup::Text &text)
    {
        static const QRegularExpression picture(u"\\bsrc\\s*=\\s*[\"']?([^\"'>]*)"_s);
        for (auto match = picture.globalMatch(text.Source); match.hasNext() && item.Files;)
            item.Files->Read(Bank::PathOf(match.next().captured(1)));
        PlainText::Readable(text);
    }
};

// The errors of a source as a whole; any other exception ends the program.
template <class Operation> void AllowRefusal(Operation operation)
{
    try {
        operation();
    } catch (const Error &error) {
        Require(error.Number() == InvalidCall && !error.Description().isEmpty(), "an error that says something");
        Require(!error.Description().contains(u'\n'), "an error of one line");
    }
}

}

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // It is never destroyed: LeakSanitizer runs at the end.
    static const auto *application = new QGuiApplication(*argc, *argv);
    Q_UNUSED(application)
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const Bank::Source source{ u"bank"_s, bytes, std::make_shared<SameFiles>(bytes) };
    static const Bank::Format *format = Bank::FormatOf(QStringLiteral(BANK_FORMAT));
    Require(format != nullptr, "a format of that name");
    AllowRefusal([&] {
        Bank::FormatOf(source);
        Require(!Bank::KindOf(source).isEmpty(), "a kind");
    });
    Bank::Options options;
    // Both ways, without a second input.
    options.HasPassages = size % 2 == 1;
    Reader reader;
    AllowRefusal([&] { format->Read(source, options, reader); });
    return 0;
}
