#include <basalt/certificate/policy_counts.h>

#include <basalt/coding/der_reader.h>

#include <algorithm>
#include <string_view>
#include <vector>

namespace basalt {

namespace {

constexpr std::string_view kPolicies = "2.5.29.32";
constexpr std::string_view kMappings = "2.5.29.33";

// The elements of a SEQUENCE OF. OpenSSL passes over what stands behind the sequence. False when
// not all of them can be read.
template <class Take>
bool for_each_of(const CERT_EXTENSION& extension, const Take& take) try {
    DerReader whole(Bytes(extension.Value.pbData, extension.Value.cbData));
    for (DerReader reader(whole.take(tag::kSequence).contents); !reader.at_end();) {
        if (!take(reader.take(tag::kSequence).contents)) {
            break;
        }
    }
    return true;
} catch (const Fault&) {
    return false;
}

std::size_t most_of_one(std::vector<Bytes>& policies) {
    const auto less = [](Bytes a, Bytes b) {
        return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end());
    };
    std::sort(policies.begin(), policies.end(), less);
    std::size_t most = 0;
    for (auto first = policies.begin(); first != policies.end();) {
        const auto last = std::upper_bound(first, policies.end(), *first, less);
        most = std::max(most, static_cast<std::size_t>(last - first));
        first = last;
    }
    return most;
}

} // namespace

PolicyCounts policy_counts(const CERT_INFO& certificate) {
    PolicyCounts counts;
    std::vector<Bytes> from;
    std::vector<Bytes> to;
    for (DWORD i = 0; i < certificate.cExtension; ++i) {
        const CERT_EXTENSION& extension = certificate.rgExtension[i];
        if (kPolicies == extension.pszObjId) {
            if (!for_each_of(extension,
                             [&](Bytes) { return ++counts.policies <= kMostPolicies; })) {
                counts.policies = kMostPolicies + 1;
            }
        } else if (kMappings == extension.pszObjId) {
            const auto take = [&](Bytes mapping) {
                DerReader policies(mapping);
                from.push_back(policies.take(tag::kOid).contents);
                to.push_back(policies.take(tag::kOid).contents);
                return ++counts.mappings <= kMostPolicies;
            };
            if (!for_each_of(extension, take)) {
                counts.mappings = kMostPolicies + 1;
            }
        }
    }
    counts.mapped_from_one = most_of_one(from);
    counts.mapped_to_one = most_of_one(to);
    return counts;
}

} // namespace basalt
