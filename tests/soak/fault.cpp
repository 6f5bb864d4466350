#include "fault.h"

#include <thread>

namespace soak {

QByteArray Scene::randomBytes(int count)
{
    QByteArray result(count, '\0');
    for (char &byte : result)
        byte = char(m_generator() & 0xFF);
    return result;
}

void Scene::during(const std::function<void()> &action, int steps)
{
    constexpr int kLongestDelayUs = 100000;
    const std::chrono::microseconds delay(random(kLongestDelayUs));
    std::thread other([&] {
        std::this_thread::sleep_for(delay); // the random moment
        action();
    });
    run(steps);
    other.join();
}

void Scene::expect(bool isWell, const QString &what)
{
    if (!isWell)
        complain(what);
}

} // namespace soak
