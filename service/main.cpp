// SPDX-License-Identifier: Apache-2.0
#include "service/Commands.h"

#include <QCoreApplication>

using namespace Qt::Literals::StringLiterals;

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"practorium-service"_s);
    QCoreApplication::setApplicationVersion(u"" PRACTORIUM_VERSION ""_s);
    return Command::Run(u"Download service for the exams that candidates have bought."_s,
                        {
                            { u"serve"_s, u"runs the service"_s, Command::Serve },
                            { u"init"_s, u"makes the database, or brings its tables up to date"_s, Command::Init },
                            { u"import"_s, u"adds users and their exams from tables"_s, Command::Import },
                            { u"add-user"_s, u"adds a user or changes a user's password"_s, Command::AddUser },
                            { u"remove-user"_s, u"removes a user with all exams and reports"_s, Command::RemoveUser },
                            { u"grant"_s, u"allows a user to download exams"_s, Command::Grant },
                            { u"revoke"_s, u"removes exams from those that a user may download"_s, Command::Revoke },
                            { u"list-users"_s, u"prints the users and their exams"_s, Command::ListUsers },
                            { u"list-reports"_s, u"prints the reports of installed exams"_s, Command::ListReports },
                        });
}
