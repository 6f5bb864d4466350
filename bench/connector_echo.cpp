#include "bench/connector_echo.h"

#include "bench/echo_frames.h"
#include "bus/action_frame.h"
#include "bus/connector.h"
#include "keystone/byte_writer.h"

namespace bench {

ConnectorEcho::ConnectorEcho(const QString &socket)
    : m_connector(new TConnector(this))
{
    connect(m_connector, &TConnector::NewCommand, this, [this](QByteArray &command, QByteArray &data, int caller) {
        bus::ActionFrame answer(command);
        // As handlers write large answers.
        keystone::ByteWriter(&answer.bytes()).append(QByteArrayView(data).sliced(kLongerAnswerHead));
        m_connector->writeToAdmin(answer.take(Qt::blue, caller));
    });
    m_connector->SetAdminServerName(socket.toUtf8());
    m_connector->SetServerName(socket + QStringLiteral(".own"));
}

} // namespace bench
