// A server on loopback, in a thread of this process, that answers each POST with the same bytes on
// connections that stay open.
#pragma once

#include <string>

namespace bench {

class CannedServer {
public:
    // `request_size` is the size of the one body that is ever posted.
    CannedServer(const std::string& body, std::size_t request_size);

    const std::string& url() const { return url_; }

private:
    void accept(int listener) const;
    void serve(int connection) const;

    std::string answer_;
    std::size_t request_size_;
    std::string url_;
};

} // namespace bench
