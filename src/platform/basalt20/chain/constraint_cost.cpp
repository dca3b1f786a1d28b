#include <basalt/chain/constraint_cost.h>

#include <basalt/certificate/extension_value.h>
#include <basalt/certificate/policy_counts.h>
#include <basalt/chain/name_key.h>

#include <openssl/x509v3.h>

#include <algorithm>

namespace basalt {

namespace {

// As the verifier has them to go through: of mailboxes in UTF-8, which are names of a kind of their
// own, it converts the host each time.
struct Names {
    std::size_t octets = 0;
    std::size_t count = 0;
};

// Of what can't be read here, and OpenSSL may read all the same.
std::size_t most_in(Bytes value) {
    return value.size() / 2;
}

// OpenSSL passes over what stands behind the sequence.
std::size_t names_in(Bytes names) try {
    constexpr BYTE kOtherName = tag::context_constructed(0);
    constexpr std::size_t kWeightOfOtherName = 40;
    std::size_t count = 0;
    for (DerReader reader(DerReader(names).take(tag::kSequence).contents); !reader.at_end();) {
        count += reader.take().tag == kOtherName ? kWeightOfOtherName : 1;
    }
    return count;
} catch (const Fault&) {
    return most_in(names);
}

std::size_t subtrees_in(Bytes constraints) try {
    std::size_t count = 0;
    for (DerReader kinds(DerReader(constraints).take(tag::kSequence).contents); !kinds.at_end();) {
        for (DerReader subtrees(kinds.take().contents); !subtrees.at_end(); ++count) {
            subtrees.take();
        }
    }
    return count;
} catch (const Fault&) {
    return most_in(constraints);
}

Names names_of(const X509* certificate) {
    const Bytes others = extension_value(certificate, NID_subject_alt_name);
    const X509_NAME* subject = X509_get_subject_name(certificate);
    Names names{others.size() + bytes_of(subject).size(),
                1 + static_cast<std::size_t>(X509_NAME_entry_count(subject))};
    names.count += others.empty() ? 0 : names_in(others);
    return names;
}

// Twenty-five nanoseconds for each pair, and one for each octet of either.
std::size_t comparisons_between(const Names& names, const Names& subtrees) {
    return 1 + names.count * (1 + subtrees.count) / 4 +
           (names.octets * subtrees.count + subtrees.octets * names.count) / 100;
}

// Each policy against all of its certificate, thirty nanoseconds for a pair, and against each
// branch of the tree above and what that is mapped to, of which the verifier allows a thousand.
std::size_t comparisons_for_policies(const Path& path) {
    constexpr std::size_t kMostBranches = 1000;
    std::size_t comparisons = 0;
    std::size_t branches = 1;      // at most, of the certificate above
    std::size_t mapped_to_one = 1; // branches for one and the same policy
    std::size_t mapped_from_one = 1;
    for (std::size_t i = path.size() - 1; i-- > 0;) {
        const PolicyCounts counts = policy_counts(path[i]->info());
        const std::size_t policies = counts.policies + counts.mappings;
        comparisons += policies * policies / 3 + policies * branches * mapped_from_one / 4;
        branches = std::min(kMostBranches, 1 + policies * mapped_to_one);
        mapped_from_one = std::max<std::size_t>(1, counts.mapped_from_one);
        mapped_to_one =
            std::min(kMostBranches, mapped_to_one * std::max<std::size_t>(1, counts.mapped_to_one));
    }
    return comparisons;
}

} // namespace

std::size_t comparisons_for_constraints(const Path& path) {
    std::size_t comparisons = comparisons_for_policies(path);
    std::vector<Names> names; // from the first up
    for (std::size_t above = 1; above < path.size(); ++above) {
        const Bytes constraints = extension_value(path[above]->openssl(), NID_name_constraints);
        if (constraints.empty()) {
            continue;
        }
        while (names.size() < above) {
            names.push_back(names_of(path[names.size()]->openssl()));
        }
        const Names subtrees{constraints.size(), subtrees_in(constraints)};
        for (const Names& of_one : names) {
            comparisons += comparisons_between(of_one, subtrees);
        }
    }
    return comparisons;
}

} // namespace basalt
