#include "kit/line/name_lookup.h"

#include "kit/line/signals_held.h"
#include "kit/line/wake_up.h"

#include <netdb.h>

#include <cstring>
#include <mutex>
#include <system_error>
#include <thread>

namespace rtu {

namespace {

/** Addresses of any family. */
LookupResult ask(const std::string &host, const std::string &port, int flags)
{
    addrinfo wanted = addrinfo();
    wanted.ai_socktype = SOCK_STREAM;
    wanted.ai_flags = flags;
    LookupResult result;
    addrinfo *found = nullptr;
    const int error = ::getaddrinfo(host.c_str(), port.c_str(), &wanted, &found);
    if (error != 0) {
        result.problem = ::gai_strerror(error);
        return result;
    }
    for (const addrinfo *info = found; info; info = info->ai_next) {
        NetworkAddress address = NetworkAddress();
        std::memcpy(&address.address, info->ai_addr, info->ai_addrlen);
        address.size = info->ai_addrlen;
        result.addresses.push_back(address);
    }
    ::freeaddrinfo(found);
    return result;
}

} // namespace

LookupResult lookUpName(const std::string &host, const std::string &port)
{
    return ask(host, port, AI_NUMERICSERV);
}

struct NameLookup::Shared
{
    void finish(const LookupResult &found)
    {
        {
            const std::lock_guard<std::mutex> lock(mutex);
            result = found;
        }
        ready.interrupt();
    }

    std::mutex mutex;
    LookupResult result;
    WakeUp ready;
};

NameLookup::NameLookup(const std::string &host, const std::string &port, const Lookup &lookup)
    : m_shared(std::make_shared<Shared>())
{
    const LookupResult figures = ask(host, port, AI_NUMERICHOST | AI_NUMERICSERV);
    if (!figures.addresses.empty()) {
        m_shared->finish(figures);
        return;
    }
    try {
        const SignalsHeld held;
        const std::shared_ptr<Shared> shared = m_shared;
        std::thread([shared, host, port, lookup] { shared->finish(lookup(host, port)); }).detach();
    } catch (const std::system_error &error) {
        LookupResult failed;
        failed.problem = error.what();
        m_shared->finish(failed);
    }
}

int NameLookup::descriptor() const
{
    return m_shared->ready.descriptor();
}

LookupResult NameLookup::result() const
{
    const std::lock_guard<std::mutex> lock(m_shared->mutex);
    return m_shared->result;
}

} // namespace rtu
