// SPDX-License-Identifier: Apache-2.0
#include "bank/Formats.h"
#include "tests/bank/MemoryFiles.h"
#include "tests/support/Test.h"

namespace {

Bank::Source Zip(const QString &path, const QByteArray &begin = {})
{
    return { {}, "PK\3\4" + begin, std::make_shared<MemoryFiles>(MemoryFiles::Contents{ { path, "" } }) };
}

QByteArray Wide(const QString &text)
{
    return { reinterpret_cast<const char *>(text.utf16()), text.size() * 2 };
}

}

TEST(KindTest, FilesThatAreNoBanks)
{
    const QByteArray office = "\xd0\xcf\x11\xe0 ";
    const std::pair<Bank::Source, QString> rows[] = {
        { Zip(u"xl/workbook.xml"_s), u"a spreadsheet (export it as CSV)"_s },
        { Zip(u"content.xml"_s, "mimetypeapplication/vnd.oasis.opendocument.spreadsheet"),
          u"a spreadsheet (export it as CSV)"_s },
        { { {}, office + Wide(u"Workbook"_s), {} }, u"a spreadsheet (export it as CSV)"_s },
        { { {}, office + Wide(u"WordDocument"_s), {} }, u"a text document"_s },
        { Zip(u"word/document.xml"_s), u"a text document"_s },
        { { {}, "{\\rtf1", {} }, u"a text document"_s },
        { Zip(u"ppt/presentation.xml"_s), u"a presentation"_s },
        { Zip(u"moodle_backup.xml"_s), u"a course backup (export its question bank as Moodle XML)"_s },
        { Zip(u"a/imsmanifest.xml"_s), u"a course package"_s },
        { Zip(u"a.txt"_s), u"a zip archive"_s },
        { { {}, "\x1f\x8b\x08", {} }, u"an archive that is not zip"_s },
        { { {}, "%PDF-1.4", {} }, u"a PDF document"_s },
        { { {}, "\x89PNG\r\n", {} }, u"a picture"_s },
        { { {}, "BM" + QByteArray(20, '\0'), {} }, u"a picture"_s },
        { { {}, "<svg/>", {} }, u"a picture"_s },
        { { {}, "MZ\x90", {} }, u"a program"_s },
        { { {}, "<!DOCTYPE html>\n<p>", {} }, u"a web page"_s },
        { { {}, "<html><body/></html>", {} }, u"a web page"_s },
        { { {}, "<?xml version=\"1.0\"?><feed/>", {} }, u"an XML file of another kind (its root element is \"feed\")"_s },
        { { {}, "<?xml", {} }, u"a damaged XML file"_s },
        { { {}, "{\"a\":1}", {} }, u"a JSON file"_s },
        { { {}, "\xff\xfe" + Wide(u"text"_s), {} }, u"a text"_s },
        { { {}, "BM is a text", {} }, u"a text"_s },
        { { {}, "Wer?,ich,du\nWas?,\"a,b\",c\n", {} }, u"a table without the names of known columns"_s },
        { { {}, "One, two\nand more, too\n", {} }, u"a text"_s },
        { { {}, "One, two, three\nand more\n", {} }, u"a text"_s },
        { { {}, QByteArray(3, '\0'), {} }, u"a binary file"_s },
        { { {}, " \n", {} }, u"an empty file"_s },
        { {}, u"an empty file"_s },
    };
    for (const auto &[source, kind] : rows)
        EXPECT_TRUE(Bank::KindOf(source).startsWith(kind)) << kind.toStdString() << Bank::KindOf(source).toStdString();
}
