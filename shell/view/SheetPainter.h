// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "shell/ReportSheet.h"

class QPagedPaintDevice;
class QPrinter;

// Puts the planned score report on paper.
namespace SheetPainter {

// Paints the page on the device, which it begins and ends. Raises an Error when
// the device does not take it, and what PlanFor raises.
void Paint(QPagedPaintDevice &device, const ReportSheet::Data &data);

// Prints the page as a job with a name of its own. Raises what Paint raises, and
// an Error when the printer has not printed it.
void Print(QPrinter &printer, const ReportSheet::Data &data);

// The page as a PDF file, which is there whole or not at all. Raises what Paint
// raises, and an Error when the file cannot be written.
void SavePdf(const QString &path, const ReportSheet::Data &data);

}
