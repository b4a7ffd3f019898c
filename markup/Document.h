// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "markup/Readable.h"

#include <QTextDocument>

namespace Markup {

// A document that never loads a picture or a style sheet.
class Document : public QTextDocument {
public:
    Document() { setUndoRedoEnabled(false); }

protected:
    QVariant loadResource(int, const QUrl &) override { return {}; }
};

// Reads the lines off a document, with U+FFFC for its pictures.
Readable ReadDocument(const Document &document);

}
