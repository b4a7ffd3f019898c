// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

// Where an installed exam is for the moment in which another takes its place,
// as packs do it where two folders cannot change places: in the exams folder,
// under this and the name of its own folder. Nothing here needs more than the
// language, because packs have nothing more.
constexpr std::string_view KeptPrefix = ".practorium-kept-";
