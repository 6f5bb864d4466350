// Requests of every command, through the real dispatcher and handlers, on a real database.
// Input: a byte that names the command (command_names.h), then the request.

#include "command_names.h"
#include "fuzz.h"
#include "request_site.h"

#include <QCoreApplication>

#include <array>

namespace {

/// Made as a whole after what QtSql keeps for the process, so that it goes before.
struct Service
{
    Service(int &argc, char **argv)
        : application(argc, argv)
    {}

    QCoreApplication application;
    fuzz::RequestSite site;
};

fuzz::RequestSite *site = nullptr;

/// A byte for the class of the template's rows, then what they hold.
void runOnStoredBlob(QByteArray input)
{
    constexpr std::array classes = {'p', 's', 'c', 'd'};
    const char rows = classes[fuzz::takeByte(input) % classes.size()];
    site->storeBlob(rows, input);
    const QByteArray number("\0\0\0\5", 4);
    static_assert(fuzz::RequestSite::kTemplate == 5);
    for (const char *reading : {"Get_template_card_v2", "Get_template_sensors_v2", "Get_template_controls_v2"})
        site->run(reading, number);
    site->run("Copy_template_v2", number + QByteArray("\0\0\0\2\0c", 6));
    // Its map holds "name" and "modem".
    const QByteArray texts("\0\0\0\2"
                           "\0\0\0\10\0n\0a\0m\0e"
                           "\0\0\0\2\0x"
                           "\0\0\0\12\0m\0o\0d\0e\0m"
                           "\0\0\0\2\0x",
                           4 + 4 + 8 + 4 + 2 + 4 + 10 + 4 + 2);
    site->run("Create_obj_by_template_v2", number + texts);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    static Service service(*argc, *argv);
    site = &service.site;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    QByteArray input = fuzz::bytesOf(data, size);
    const unsigned choice = fuzz::takeByte(input);
    site->restore();
    if (choice == fuzz::kStoredBlob)
        runOnStoredBlob(input);
    else
        site->run(fuzz::kCommandNames[choice % fuzz::kCommandNames.size()], input);
    return 0;
}
