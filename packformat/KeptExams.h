// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

// Where two folders cannot change places, a pack moves the installed exam away
// before the new one takes its place: to a folder in the exams folder whose name is
// this prefix and the name of its own folder. No exam of a pack has such a folder
// for its own, as the names in packs begin with no dot. What a killed pack has left
// there is moved back by the next pack and by the catalogue.
constexpr std::string_view KeptPrefix = ".practorium-kept-";
