#include "installation.h"

#include "bytes.h"

namespace support {

void Installation::begin(const QByteArray &more)
{
    reset();
    service.start(database->settings() + more);
}

bool Installation::isUp()
{
    return admin.attend() && admin.nextFrame() == greeting(service.serverPath().toUtf8()) &&
           client.attach(service.serverPath(), admin);
}

void Installation::settle()
{
    QByteArray said = admin.frameAfterAbout();
    while (!said.isEmpty() && !isAbout(said, admin.lastCaller()))
        said = admin.nextFrame();
    while (client.isOpen() && !client.isSilent()) {
        if (client.nextFrame().isEmpty())
            client.close();
    }
    if (!client.isOpen())
        client.attach(service.serverPath(), admin);
}

void Installation::reset() const
{
    database->run("TRUNCATE \"Objects_property\", \"Connections\"");
    database->run("INSERT INTO \"Connections\" (\"Id\", \"Login\") VALUES (4, 'ivanov')");
}

} // namespace support
