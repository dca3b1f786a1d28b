// The process-wide policy state. It is written once under pthread_once and read without a lock
// afterwards.
#include <chronoseal/client/policy_reading.h>

#include <pthread.h>

namespace Halcyon::PKI::TSP::Client {

namespace {

struct CRequestPolicyHolder {
    ~CRequestPolicyHolder() { delete policy; }
    CRequestPolicy* policy = nullptr;
};

pthread_once_t oncePolicyReading = PTHREAD_ONCE_INIT;
bool bLegacyPolicyReading = false;
pthread_once_t oncePolicySingleton = PTHREAD_ONCE_INIT;
CRequestPolicyHolder PolicySingleton;

extern "C" void SetPolicyReading() {
    try {
        wchar_t folder_name[] = L"tsppolicy";
        wchar_t* folder = folder_name;
        wchar_t* unused = nullptr;
        CGPBool legacy;
        legacy.Load(unused, folder, L"LegacyPolicyReading", false);
        bLegacyPolicyReading = legacy.value;
    } catch (...) {
        // What can't be read isn't switched on.
    }
}

extern "C" void SetPolicySingleton() {
    try {
        PolicySingleton.policy = new CRequestPolicy;
    } catch (...) {
        // Stays null: a policy that can't be read must not count as one that allows everything.
    }
}

} // namespace

bool is_legacy_policy_reading() noexcept {
    pthread_once(&oncePolicyReading, &SetPolicyReading);
    return bLegacyPolicyReading;
}

const CRequestPolicy* shared_policy() noexcept {
    if (pthread_once(&oncePolicySingleton, &SetPolicySingleton) != 0) {
        return nullptr;
    }
    return PolicySingleton.policy;
}

} // namespace Halcyon::PKI::TSP::Client
