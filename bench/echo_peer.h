#pragma once

#include "bench/link.h"

#include <QByteArray>

#include <memory>

#include <sys/types.h>

namespace bench {

/// A process of its own that answers every frame with the same bytes, over a bare Unix socket: the least that a round
/// trip of these sizes between two processes can cost. Ends with this object, or with its parent.
class EchoPeer
{
public:
    explicit EchoPeer(const QByteArray &answer);
    ~EchoPeer();
    Q_DISABLE_COPY_MOVE(EchoPeer)

    [[nodiscard]] Link &link() { return *m_link; }

private:
    std::unique_ptr<Link> m_link;
    pid_t m_process = -1;
};

} // namespace bench
