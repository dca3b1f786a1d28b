// Which hosts lie inside: this machine, private and link-local networks, and what is no single host
// of the internet at all. Nothing here asks a name server, and nothing fails but for lack of
// memory.
#pragma once

#include <string>

#include <sys/socket.h>

namespace basalt {

// Of IPv4 and IPv6, those that carry an IPv4 address in them among these. True for other families.
bool is_inner(const sockaddr& address);

// By the host as the URL writes it: an inner address, in whatever notation a resolver takes, or a
// name that means one without asking anybody (localhost, a name without a dot). True for what is no
// URL.
bool names_inner_host(const std::string& url);

} // namespace basalt
