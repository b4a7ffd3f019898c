// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "shell/ReportSheet.h"

class QPagedPaintDevice;
class QPrinter;

// Puts the planned score report on paper. Each call blocks until the page is
// handed over.
namespace SheetPainter {

// Paints the page on the device, which it begins and ends, after setting the
// device's margins to 0. Raises InvalidCall under "SheetPainter::Paint()" when the
// device does not take it, and what PlanFor raises.
void Paint(QPagedPaintDevice &device, const ReportSheet::Data &data);

// Prints the page as a job with a name of its own. Raises what Paint raises, and
// InvalidCall under "SheetPainter::Print()" when the printer has not printed it.
void Print(QPrinter &printer, const ReportSheet::Data &data);

// The page as a PDF file, which is there whole or not at all; a file of that name
// is replaced. The paper is Letter where the system has US measures, else A4.
// Raises what Paint raises, and InvalidCall under "SheetPainter::SavePdf()", with
// the system's reason, when the file cannot be written.
void SavePdf(const QString &path, const ReportSheet::Data &data);

}
