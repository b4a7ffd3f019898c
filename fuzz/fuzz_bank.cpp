// SPDX-License-Identifier: Apache-2.0
#include "bank/Archive.h"
#include "bank/Formats.h"
#include "common/Error.h"
#include "markup/Readable.h"

#include <QGuiApplication>
#include <QMap>
#include <QRegularExpression>

#include <cstdio>
#include <cstdlib>

using namespace Qt::Literals::StringLiterals;

// Any bytes as a question bank of one format, BANK_FORMAT, as each file of a folder, and
// as a zip archive: recognised, read, the pictures looked for, every text made
// readable. Lines such as "==> item.xml <==" make them a folder: what is behind each is
// the file of that name.

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

    QStringList Paths() const override
    {
        return { u"a.png"_s, u"content/content.json"_s, u"h5p.json"_s, u"imsmanifest.xml"_s, u"item.xml"_s };
    }

private:
    QByteArray m_bytes;
};

// The files that the bytes hold by such lines.
class FolderOf : public Bank::Files {
public:
    explicit FolderOf(const QByteArray &bytes)
    {
        qsizetype name = Begin(bytes, 0);
        while (name >= 0) {
            const qsizetype end = bytes.indexOf(" <==\n", name);
            if (end < 0)
                return;
            const qsizetype next = Begin(bytes, end);
            const qsizetype size = (next < 0 ? bytes.size() : next - MarkSize) - end - 5;
            m_files.insert(QString::fromUtf8(bytes.mid(name, end - name)), bytes.mid(end + 5, size));
            name = next;
        }
    }

    bool IsEmpty() const { return m_files.isEmpty(); }

    std::optional<QByteArray> Read(const QString &path) const override
    {
        return m_files.contains(path) ? std::optional(m_files.value(path)) : std::nullopt;
    }

    QStringList Paths() const override { return m_files.keys(); }

private:
    static constexpr qsizetype MarkSize = 4;

    // Where the next name begins; -1 for none.
    static qsizetype Begin(const QByteArray &bytes, qsizetype from)
    {
        const qsizetype mark = bytes.indexOf("==> ", from);
        return mark < 0 ? -1 : mark + MarkSize;
    }

    QMap<QString, QByteArray> m_files;
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
        Markup::Read(text);
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

void ReadAs(const Bank::Source &source, const Bank::Options &options)
{
    static const Bank::Format *format = Bank::FormatOf(QStringLiteral(BANK_FORMAT));
    Require(format != nullptr, "a format of that name");
    AllowRefusal([&] {
        Bank::FormatOf(source);
        Require(!Bank::KindOf(source).isEmpty(), "a kind");
    });
    Reader reader;
    AllowRefusal([&] { format->Read(source, options, reader); });
}

// All options, without a second input.
Bank::Options OptionsBy(size_t size)
{
    Bank::Options options;
    options.HasPassages = size % 2 == 1;
    if (size % 3 == 0)
        options.Columns = u"question=1,options=2-4,key=5"_s;
    return options;
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
    const Bank::Options options = OptionsBy(size);
    if (const auto folder = std::make_shared<FolderOf>(bytes); !folder->IsEmpty()) {
        ReadAs({ u"folder"_s, {}, folder }, options);
        return 0;
    }
    const auto files = std::make_shared<SameFiles>(bytes);
    ReadAs({ u"bank"_s, bytes, files, size % 5 == 0 ? u"windows-1251"_s : QString() }, options);
    ReadAs({ u"folder"_s, {}, files }, options);
    AllowRefusal([&] {
        if (Bank::Archive::Suits(bytes))
            ReadAs({ u"archive"_s, bytes, std::make_shared<Bank::Archive>(bytes, u"archive"_s) }, options);
    });
    return 0;
}
