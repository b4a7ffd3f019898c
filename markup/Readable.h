// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "markup/PlainText.h"

#include <QStringList>
#include <vector>

namespace Markup {

struct Picture {
    QString Source;
    QString Alt;
};

struct Readable {
    QString Text;
    std::vector<Picture> Pictures;
    QStringList Warnings;
};

inline Readable Read(const Text &text)
{
    return { PlainText::Readable(text), {}, {} };
}

inline QString Spelled(const Readable &readable, bool)
{
    return readable.Text;
}

}
