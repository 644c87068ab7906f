/**
 * @file
 * Finding the addresses of a named computer without waiting for a name server, which
 * may take half a minute and cannot be hurried.
 */
#ifndef KIT_LINE_NAME_LOOKUP_H
#define KIT_LINE_NAME_LOOKUP_H

#include <sys/socket.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace rtu {

struct NetworkAddress
{
    sockaddr_storage address; ///< IPv4 or IPv6, with the port
    socklen_t size;
};

struct LookupResult
{
    std::vector<NetworkAddress> addresses; ///< in the order in which they should be tried
    std::string problem;                   ///< why there are none
};

/** Looks a host up, however long that takes; the port is a number. */
using Lookup = std::function<LookupResult(const std::string &host, const std::string &port)>;

/** As the system does it: its hosts file, then name servers. */
LookupResult lookUpName(const std::string &host, const std::string &port);

/** A look-up on a thread of its own, which ends by itself when nobody waits for it any more. */
class NameLookup
{
public:
    /** Addresses in figures are understood at once, without @p lookup and without a thread. */
    NameLookup(const std::string &host, const std::string &port, const Lookup &lookup);

    /** Readable as soon as result() may be called. */
    int descriptor() const;
    LookupResult result() const;

private:
    struct Shared;
    std::shared_ptr<Shared> m_shared;
};

} // namespace rtu

#endif
