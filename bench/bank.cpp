// SPDX-License-Identifier: Apache-2.0
// bench_bank FORMAT FILE: reads a question bank into a receiver that drops its items,
// and as a floor takes the same file for what it is at the least: XML that is parsed,
// a text that is decoded, an archive whose XML files are read and parsed.

#include "bank/Archive.h"
#include "bank/Formats.h"
#include "common/Error.h"

#include <QBuffer>
#include <QFile>
#include <QStringDecoder>
#include <QXmlStreamReader>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int Rounds = 5;

class Counter : public Bank::Receiver {
public:
    int Items = 0;
    int Refused = 0;

    void Add(Bank::Item &&item) override
    {
        ++Items;
        Refused += item.Refusal.isEmpty() ? 0 : 1;
    }
    void SetName(const QString &) override { }
    void Warn(int, const QString &) override { }
};

QByteArray Content(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw Error(InvalidCall, file.errorString());
    return file.readAll();
}

Counter ReadBank(const Bank::Format &format, const QString &path)
{
    Bank::Source source{ path, Content(path), nullptr };
    if (Bank::Archive::Suits(source.Bytes))
        source.Files = std::make_shared<Bank::Archive>(source.Bytes, path);
    Counter counter;
    format.Read(source, {}, counter);
    return counter;
}

void Parse(QByteArray bytes)
{
    // Faster than to hand over the bytes at once.
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QXmlStreamReader reader(&buffer);
    while (!reader.atEnd())
        reader.readNext();
    if (reader.hasError())
        throw Error(InvalidCall, reader.errorString());
}

void ReadBare(const QString &path)
{
    const QByteArray bytes = Content(path);
    if (Bank::Archive::Suits(bytes)) {
        const Bank::Archive archive(bytes, path);
        for (const QString &entry : archive.Paths()) {
            if (entry.endsWith(".xml"_L1))
                Parse(archive.Read(entry).value_or(QByteArray()));
        }
    } else if (bytes.startsWith('<')) {
        Parse(bytes);
    } else {
        QStringDecoder decoder(QStringConverter::Utf8);
        if (QString(decoder(bytes)).isEmpty())
            throw Error(InvalidCall, u"an empty bank"_s);
    }
}

// Of the processor: what else the machine does has no part in it.
template <class Operation> double Milliseconds(Operation operation)
{
    const std::clock_t begin = std::clock();
    operation();
    return 1000.0 * static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// At most so many times the floor: a parser of XML does most of the work of its
// reader, which looks at the files of a package more than once; a decoder hardly any.
double Limit(const QString &format)
{
    return format == "gift"_L1 || format == "csv"_L1 ? 20 : format == "qti2"_L1 ? 2.25 : 1.5;
}

void Measure(const QString &name, const QString &path)
{
    const Bank::Format *format = Bank::FormatOf(name);
    if (!format)
        throw Error(InvalidCall, u"there is no format of that name"_s);
    const Counter counter = ReadBank(*format, path);
    if (counter.Items == 0 || counter.Refused > 0)
        throw Error(InvalidCall, u"%1 items, %2 refused"_s.arg(counter.Items).arg(counter.Refused));
    std::vector<double> ratios;
    std::vector<double> times;
    for (int round = 0; round < Rounds; ++round) {
        const double floor = Milliseconds([&] { ReadBare(path); });
        times.push_back(Milliseconds([&] { ReadBank(*format, path); }));
        ratios.push_back(times.back() / floor);
    }
    std::printf("%s: %d items read (%.0f ms), to a bare parse|", qPrintable(format->Title.section(u':', 0, 0)), counter.Items,
                Median(times));
    for (const double ratio : ratios)
        std::printf(" %.3f", ratio);
    std::printf("|%g|x\n", Limit(name));
}

}

int main(int argc, char **argv)
{
    if (argc != 3)
        return 2;
    try {
        Measure(QString::fromLocal8Bit(argv[1]), QString::fromLocal8Bit(argv[2]));
        return 0;
    } catch (const Error &error) {
        std::fprintf(stderr, "bench_bank: %s\n", qPrintable(error.Description()));
        return 1;
    }
}
