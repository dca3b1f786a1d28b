// A short list, looked through by size and bytes.
#include <basalt/certificate/body_cache.h>

#include <algorithm>
#include <mutex>
#include <vector>

namespace basalt {
namespace {

constexpr std::size_t kMaxEntries = 32;
constexpr std::size_t kMaxBytesOfOne = std::size_t{8} << 10;

class BodyCache {
public:
    std::shared_ptr<const CertificateBody> find(Bytes encoded) {
        const std::lock_guard lock(mutex_);
        const auto found = std::find_if(bodies_.begin(), bodies_.end(), [&](const auto& body) {
            return same_bytes(body->encoded(), encoded);
        });
        if (found == bodies_.end()) {
            return nullptr;
        }
        std::rotate(bodies_.begin(), found, found + 1);
        return bodies_.front();
    }

    void keep(const std::shared_ptr<const CertificateBody>& body) {
        if (body->encoded().size() > kMaxBytesOfOne || find(body->encoded())) {
            return;
        }
        const std::lock_guard lock(mutex_);
        bodies_.insert(bodies_.begin(), body);
        if (bodies_.size() > kMaxEntries) {
            bodies_.pop_back();
        }
    }

private:
    std::mutex mutex_;
    std::vector<std::shared_ptr<const CertificateBody>> bodies_; // the last used first
};

// Never destroyed: threads may outlive the objects of the process.
BodyCache& bodies() {
    static auto* cache = new BodyCache;
    return *cache;
}

} // namespace

std::shared_ptr<const CertificateBody> body_of(Bytes encoded) {
    if (auto found = bodies().find(encoded)) {
        return found;
    }
    return std::make_shared<const CertificateBody>(encoded);
}

void keep_body(const std::shared_ptr<const CertificateBody>& body) {
    bodies().keep(body);
}

} // namespace basalt
