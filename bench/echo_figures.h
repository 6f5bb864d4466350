#pragma once

#include "bench/held_figure.h"
#include "bench/interleaved.h"
#include "bench/link.h"
#include "bench/spawned.h"

#include <QByteArray>

#include <memory>
#include <string>
#include <vector>

namespace bench {

/// An echo in a process of its own, and the link to it.
class Echo
{
public:
    /// `kind` is what bus_echo takes. `socket` must not exist.
    Echo(std::string name, const std::vector<std::string> &kind, const std::string &socket);

    [[nodiscard]] const std::string &name() const { return m_name; }

    /// Waits for the process to make it.
    [[nodiscard]] Link &link();

private:
    std::string m_name;
    bool m_greets; ///< its link begins with a greeting
    std::unique_ptr<Listener> m_listener;
    std::unique_ptr<Spawned> m_process;
    std::unique_ptr<Link> m_link;
};

/// Frames of several sizes sent back by the service's connector, by a bare Unix socket and by a bare QLocalSocket. Each
/// size has processes of its own, since the memory that a large frame leaves behind makes later ones faster.
class EchoFigures
{
public:
    /// `folder` is where the echoes' sockets are.
    explicit EchoFigures(std::string folder);

    /// `service` is spoken to for an "About", beside the echoes of the smallest frame. Both must outlive the
    /// measurement.
    [[nodiscard]] std::vector<HeldFigure> addFigures(Interleaved &measured, Link &service);

private:
    struct Size;
    struct Trial;

    Echo &start(const std::string &name, const std::vector<std::string> &kind);
    Trial startTrial();
    std::vector<HeldFigure> addTurns(Interleaved &measured, const Size &size, const Trial &trial,
                                     Interleaved::Id about);
    std::vector<HeldFigure> addStreams(Interleaved &measured, const Trial &trial);

    std::string m_folder;
    std::vector<std::unique_ptr<Echo>> m_echoes;
};

} // namespace bench
