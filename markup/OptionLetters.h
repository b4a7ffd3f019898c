// SPDX-License-Identifier: Apache-2.0
#pragma once
#include <QStringList>
namespace Markup { inline void RemoveOptionLetters(QStringList &) {} }
