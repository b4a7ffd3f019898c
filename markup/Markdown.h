// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "markup/Readable.h"

namespace Markup {

// A text in Markdown, as Read gives it.
Readable ReadMarkdown(const QString &markdown);

}
