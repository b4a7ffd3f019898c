// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace Bank {

// The character that a named entity of HTML 4 stands for, "nbsp" and the like; empty
// for a name that it does not have.
QString CharacterOf(const QString &entity);

}
