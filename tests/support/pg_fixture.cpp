// Begins and ends the database cluster of a test run: pg_fixture begin|end FILE, where FILE notes its place.

#include "pg_server.h"

#include <QCoreApplication>

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() != 3 || (arguments[1] != "begin" && arguments[1] != "end"))
        qFatal("usage: pg_fixture begin|end FILE");
    if (arguments[1] == "begin")
        support::PgServer::beginRun(arguments[2]);
    else
        support::PgServer::endRun(arguments[2]);
    return 0;
}
