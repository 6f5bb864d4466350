#pragma once

#include <QObject>

namespace hub {

/// Turns SIGINT and SIGTERM into a Qt signal that the event loop delivers. One per process.
class QuitSignals : public QObject
{
    Q_OBJECT

public:
    explicit QuitSignals(QObject *parent = nullptr);
    ~QuitSignals() override;

signals:
    void quitRequested();

private:
    int m_descriptor = -1;
};

} // namespace hub
