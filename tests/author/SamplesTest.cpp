// SPDX-License-Identifier: Apache-2.0
#include "author/Sources.h"
#include "tests/author/AuthorFixture.h"

namespace {

const QString Folder = QStringLiteral(SAMPLES_FOLDER "/formats/");

struct SampleBank {
    Exhibits Pictures;
    Assembler Made{ {}, Pictures };
    QString Format;

    explicit SampleBank(const QString &name)
    {
        Sources::ForEach(
            Folder + name, {},
            [&](const Bank::Source &source, const Bank::Format *format) {
                ASSERT_TRUE(format) << name.toStdString();
                Format = format->Name;
                format->Read(source, {}, Made);
            },
            [](const QString &path, const QString &reason) { ADD_FAILURE() << path.toStdString() << reason.toStdString(); });
        for (const Draft::Fate &fate : Made.Fates)
            EXPECT_EQ(fate.Reason + fate.Warnings.join(u'|'), QString()) << fate.Place.toStdString();
        EXPECT_EQ(Made.Warnings, 0) << name.toStdString();
    }

    QByteArray File() const
    {
        const QString path = Sandbox::Path(u"sample.exam"_s);
        Package::Compose(Made.Items, { u"PLANETS"_s, u"Planets"_s, 1000, 700, 8 })->Save(path);
        return Sandbox::ReadFile(path);
    }
};

}

// What a format cannot carry is taken out of the bank that it is compared with.
TEST(SamplesTest, TheSameBankInEveryFormat)
{
    const std::map<QString, QString> formats = {
        { u"planets.gift"_s, u"gift"_s },     { u"planets-moodle.xml"_s, u"moodle"_s }, { u"planets-aiken.txt"_s, u"aiken"_s },
        { u"planets.csv"_s, u"csv"_s },       { u"planets-excel.csv"_s, u"csv"_s },     { u"planets.tsv"_s, u"csv"_s },
        { u"planets-qti1.xml"_s, u"qti1"_s }, { u"planets-canvas"_s, u"qti1"_s },       { u"planets-qti2"_s, u"qti2"_s },
        { u"planets-qti3"_s, u"qti2"_s },     { u"planets-h5p"_s, u"h5p"_s },
    };
    QStringList names = Names(Folder);
    names.removeAll(u"orbits.png"_s);
    EXPECT_EQ(static_cast<size_t>(names.size()), formats.size());
    for (const QString &name : names) {
        const SampleBank bank(name);
        EXPECT_EQ(bank.Format, formats.at(name)) << name.toStdString();
        SampleBank expected(u"planets.gift"_s);
        for (Draft::Item &item : expected.Made.Items) {
            if (bank.Format == "aiken"_L1 || bank.Format == "h5p"_L1)
                item.Feedback.clear();
            if (bank.Format == "aiken"_L1)
                item.Exhibit.clear();
        }
        EXPECT_EQ(bank.Made.Items.size(), 5U);
        EXPECT_EQ(bank.File().toHex(' '), expected.File().toHex(' ')) << name.toStdString();
        const QString picture = bank.Pictures.Folder() + u"/orbits.png"_s;
        EXPECT_TRUE(bank.Format == "aiken"_L1 || Sandbox::ReadFile(picture) == Sandbox::ReadFile(Folder + u"orbits.png"_s))
            << name.toStdString();
    }
}
