// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Bank.h"

// The answer blocks of GIFT: what stands between "{" and "}". Escapes in all texts
// are hidden (see GiftLines).
namespace GiftBlock {

// The text without its format prefix; the fallback applies when there is none.
Markup::Text Formatted(QStringView hidden, Markup::Kind fallback);

// Whether the block is one of the many in an embedded-answers question (Cloze), such
// as "1:MULTICHOICE:=a~b".
bool IsEmbedded(QStringView block);

// Whether the block is that of a question of any type. An empty one, an essay's, is
// not told from other braces.
bool IsAnswer(QStringView block);

// Parses the answer block into the item, whose Problem is there. Returns why the item
// has no options to choose from; empty when it has.
QString Read(Bank::Item &item, QStringView block, const Bank::Options &texts);

}
