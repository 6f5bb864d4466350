#include "ctl/program.h"

#include <QCoreApplication>

int main(int argc, char **argv)
{
    // Taken before Qt, which removes options of its own.
    const std::vector<std::string> words(argv + 1, argv + argc);
    const QCoreApplication application(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);
    return ctl::runProgram(words, out, err);
}
