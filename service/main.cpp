// SPDX-License-Identifier: Apache-2.0
#include "service/Commands.h"

#include <QCoreApplication>

using namespace Qt::Literals::StringLiterals;

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"practorium-service"_s);
    QCoreApplication::setApplicationVersion(u"" PRACTORIUM_VERSION ""_s);
    return Command::Run(u"Lets candidates download the exams that they have bought."_s,
                        {
                            { u"serve"_s, u"answers candidates until it is told to stop"_s, Command::Serve },
                            { u"add-user"_s, u"adds a user, or changes a user's password"_s, Command::AddUser },
                            { u"remove-user"_s, u"removes a user and all that is kept of one"_s, Command::RemoveUser },
                            { u"grant"_s, u"lets a user download exams"_s, Command::Grant },
                            { u"revoke"_s, u"takes exams back from a user"_s, Command::Revoke },
                            { u"list-users"_s, u"prints users and what each may download"_s, Command::ListUsers },
                            { u"list-reports"_s, u"prints what was reported as installed"_s, Command::ListReports },
                        });
}
