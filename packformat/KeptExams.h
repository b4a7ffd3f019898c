// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

// Where two folders cannot change places, a pack moves the installed exam away
// before the new one takes its place: to a folder in the exams folder whose name is
// this prefix and the name of its own folder.
constexpr std::string_view KeptPrefix = ".practorium-kept-";
