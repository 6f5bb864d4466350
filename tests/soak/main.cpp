// An installation at work for hours, with faults, and a comparison of every row: soak [SECONDS [seed]].

#include "endurance.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char *argv[])
{
    constexpr int kUsualSeconds = 3600;
    const QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    const int seconds = arguments.size() > 1 ? arguments[1].toInt() : kUsualSeconds;
    const quint32 seed = arguments.size() > 2 ? arguments[2].toUInt() : std::random_device()();
    if (seconds <= 0 || arguments.size() > 3) {
        std::fprintf(stderr, "usage: soak [SECONDS [seed]]\n");
        return 2;
    }
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    std::printf("soak: %d s, seed %u\n", seconds, seed);
    const bool held = soak::Endurance(seed, seconds).run();
    std::printf("%s: soak %d %u\n", held ? "all held" : "NOT all held", seconds, seed);
    return held ? 0 : 1;
}
