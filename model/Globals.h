// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/Exam.h"

#include <QString>
#include <QStringList>

#include <memory>

// The catalogue of installed exams and the exam being taken.
namespace Globals {

// The exam being taken; empty between sittings. Each start replaces it.
extern std::shared_ptr<Exam> CurrentExam;

// The folder that holds one folder for each installed exam.
QString ExamsFolder();
// The exam file of a package folder, named after the folder with its extension
// replaced; empty when the folder has no such file.
QString FindExamFile(const QString &PackageFolder);
// The exam files of all packages in the order in which the system lists them: the
// user's own, then those that are installed for everybody, without those whose folder
// has the name of one before.
QStringList GetInstalledExams();
// Puts exams back that a pack moved to a kept folder to replace them and, because
// it was ended by force, left there. An exam that cannot be moved stays where it
// is; nothing is raised.
void PutBackExams();
// Whether an installed exam has this code, without regard to case and
// surrounding blanks.
bool IsExamInstalled(const QString &ExamCode);

// The letter of option 1 is A. Raises InvalidCall for a number below -64.
QString OptionLetter(qint16 Number);
// "1,3" as "A,C"; empty for an empty list. Raises TypeMismatch or Overflow for
// a piece that is no 16-bit number.
QString AnswerLetters(const QString &List);
// How many pieces the commas of a list make; 0 for an empty one.
qint16 ItemCount(const QString &List);
// One piece of a list as a number. Raises TypeMismatch and Overflow.
qint16 ListNumber(QStringView Piece);

}
