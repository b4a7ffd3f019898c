#include "service/Command.h"

#include <QCoreApplication>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    return Command::Run(QCoreApplication::arguments());
}
