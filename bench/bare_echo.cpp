#include "bench/bare_echo.h"

#include "bench/frame_stream.h"

namespace bench {

void echoBare(const std::string &socket, EchoPace pace)
{
    Link link(connectTo(socket));
    FrameStream frames(link);
    for (;;) {
        const QByteArrayView arrived = pace == EchoPace::EachAtOnce ? frames.next() : frames.nextFrames();
        if (arrived.isEmpty())
            return;
        link.send(arrived);
    }
}

} // namespace bench
