#pragma once

#include <QObject>
#include <QString>

class TConnector;

namespace bench {

/// Answers commands through the service's own connector as the service does: the answer's data are written into its
/// frame, which the administration link sends. The answer has as many bytes as the command.
class ConnectorEcho : public QObject
{
public:
    /// The connector links to `socket` 5 s after this. The application ends when the other end goes.
    explicit ConnectorEcho(const QString &socket);

private:
    TConnector *m_connector;
};

} // namespace bench
