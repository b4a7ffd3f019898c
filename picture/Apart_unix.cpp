// SPDX-License-Identifier: Apache-2.0
#include "picture/Apart.h"

#include "common/Error.h"
#include "handles/Handle_unix.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <array>
#include <csignal>

using namespace Qt::Literals::StringLiterals;

namespace Apart {

namespace {

// What the copy sends: this, and then the rows of the picture or the error's text.
struct Head {
    qint32 Width = 0; // 0 with an error
    qint32 Height = 0;
};

Error Refused(const QString &text)
{
    return Error(InvalidCall, text, u"Apart::Run()"_s);
}

template <class Record> char *Bytes(Record &record)
{
    return reinterpret_cast<char *>(&record);
}

void Send(int pipe, const std::function<QImage()> &work)
{
    try {
        const QImage image = work().convertToFormat(QImage::Format_RGB32);
        Head head{ image.width(), image.height() };
        if (WriteAll(pipe, Bytes(head), sizeof head))
            WriteAll(pipe, reinterpret_cast<const char *>(image.constBits()), static_cast<size_t>(image.sizeInBytes()));
    } catch (const Error &error) {
        Head head;
        const QByteArray text = error.Description().toUtf8();
        if (WriteAll(pipe, Bytes(head), sizeof head))
            WriteAll(pipe, text.constData(), static_cast<size_t>(text.size()));
    }
}

[[noreturn]] void RunCopy(int pipe, const std::function<QImage()> &work)
{
    const rlimit seconds{ MostSeconds, MostSeconds + 1 };
    const rlimit none{ 0, 0 };
    setrlimit(RLIMIT_CPU, &seconds);
    setrlimit(RLIMIT_CORE, &none);
    for (const int number : { SIGXCPU, SIGSEGV, SIGABRT, SIGFPE, SIGBUS, SIGILL, SIGPIPE })
        std::signal(number, SIG_DFL);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDERR_FILENO);
    try {
        Send(pipe, work);
    } catch (...) {
        _exit(1);
    }
    _exit(0);
}

// False when it ends before.
bool Receive(int pipe, char *bytes, qint64 count)
{
    while (count > 0) {
        const ssize_t got = Uninterrupted([&] { return read(pipe, bytes, static_cast<size_t>(count)); });
        if (got <= 0)
            return false;
        bytes += got;
        count -= got;
    }
    return true;
}

QString ReceiveText(int pipe)
{
    QByteArray text;
    std::array<char, 1024> block;
    for (;;) {
        const ssize_t got = Uninterrupted([&] { return read(pipe, block.data(), block.size()); });
        if (got <= 0)
            return QString::fromUtf8(text);
        text.append(block.data(), got);
    }
}

}

QImage Run(const std::function<QImage()> &work)
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        throw Refused(u"No pipe can be made"_s);
    const UniqueHandle from(ends[0]);
    UniqueHandle to(ends[1]);
    const pid_t copy = fork();
    if (copy < 0)
        throw Refused(u"No process can be made"_s);
    if (copy == 0)
        RunCopy(to, work);
    to.Close();

    Head head;
    QImage image;
    QString fault;
    bool isWhole = Receive(from, Bytes(head), sizeof head);
    if (isWhole && head.Width > 0) {
        image = QImage(head.Width, head.Height, QImage::Format_RGB32);
        isWhole = !image.isNull() && Receive(from, reinterpret_cast<char *>(image.bits()), image.sizeInBytes());
    } else if (isWhole) {
        fault = ReceiveText(from);
    }
    int status = 0;
    Uninterrupted([&] { return waitpid(copy, &status, 0); });
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGXCPU)
        throw Refused(u"The picture takes more than %1 seconds"_s.arg(MostSeconds));
    if (!isWhole || image.isNull())
        throw Refused(fault.isEmpty() ? u"The picture is damaged"_s : fault);
    return image;
}

}
