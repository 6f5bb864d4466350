#include "bench/attended_service.h"

#include "bus/frame.h"

#include <cstdio>
#include <stdexcept>

namespace bench {

std::unique_ptr<Link> attendService(const std::string &path)
{
    std::fprintf(stderr, "waiting for the service: it connects 5 s after its start\n");
    auto link = std::make_unique<Link>(acceptOne(path));
    const bus::Frame greeting = bus::decode(link->receive().sliced(sizeof(qint32)));
    if (!std::holds_alternative<bus::Greeting>(greeting))
        throw std::runtime_error("the service did not begin with a greeting");
    return link;
}

} // namespace bench
