// Verifiers, and verdicts with their findings, as handles.
#include <chronoseal/c_interface/call.h>
#include <chronoseal/c_interface/options.h>
#include <chronoseal/c_interface/verdict.h>
#include <chronoseal/c_interface/watch.h>

using namespace chronoseal;
using namespace chronoseal::c_interface;

struct chronoseal_verifier {
    const Verifier verifier;
};

namespace {

// Has `judge` make a verdict, and answers by it.
template <class Judge>
chronoseal_status verify(const chronoseal_verifier* verifier, const chronoseal_stamp* stamp,
                         chronoseal_verdict** verdict, chronoseal_error** error, Judge&& judge) {
    return call(error, [&] {
        if (verdict != nullptr) {
            *verdict = nullptr;
        }
        auto handle = std::make_unique<chronoseal_verdict>(
            judge(needed(verifier, "verifier").verifier, needed(stamp, "stamp").stamp));
        const bool good = handle->verdict.good();
        const auto why = good ? std::nullopt : std::optional(handle->verdict.error());
        if (verdict != nullptr) {
            *verdict = handle.release();
        }
        return good ? CHRONOSEAL_OK : report(error, *why);
    });
}

} // namespace

chronoseal_status chronoseal_verifier_new(const chronoseal_trust* trust,
                                          chronoseal_verifier** verifier,
                                          chronoseal_error** error) {
    return give_new(verifier, "verifier", error, [&] { return Verifier(trust_of(trust)); });
}

chronoseal_status chronoseal_verifier_for_one_file(const chronoseal_verifier* verifier,
                                                   chronoseal_verifier** bound,
                                                   chronoseal_error** error) {
    return give_new(bound, "bound", error,
                    [&] { return needed(verifier, "verifier").verifier.for_one_file(); });
}

chronoseal_status chronoseal_verify(const chronoseal_verifier* verifier,
                                    const chronoseal_stamp* stamp, const void* data, size_t size,
                                    chronoseal_verdict** verdict, chronoseal_error** error) {
    return verify(verifier, stamp, verdict, error, [&](const Verifier& by, const Stamp& of) {
        return by.verify(of, needed_bytes(data, size, "data"));
    });
}

chronoseal_status chronoseal_verify_file(const chronoseal_verifier* verifier,
                                         const chronoseal_stamp* stamp, const char* path,
                                         const chronoseal_control* control,
                                         chronoseal_verdict** verdict, chronoseal_error** error) {
    return verify(verifier, stamp, verdict, error, [&](const Verifier& by, const Stamp& of) {
        Watch watch(control);
        return by.verify_file(of, needed_text(path, "path"), watch.progress(), watch.stop());
    });
}

chronoseal_status chronoseal_verify_digest(const chronoseal_verifier* verifier,
                                           const chronoseal_stamp* stamp,
                                           const chronoseal_digest* digest,
                                           chronoseal_verdict** verdict, chronoseal_error** error) {
    return verify(verifier, stamp, verdict, error, [&](const Verifier& by, const Stamp& of) {
        return by.verify(of, digest_of(digest));
    });
}

chronoseal_status chronoseal_verify_request(const chronoseal_verifier* verifier,
                                            const chronoseal_stamp* stamp, const void* request,
                                            size_t size, chronoseal_verdict** verdict,
                                            chronoseal_error** error) {
    return verify(verifier, stamp, verdict, error, [&](const Verifier& by, const Stamp& of) {
        return by.verify(of, Expected::of_request(needed_bytes(request, size, "request")));
    });
}

chronoseal_status chronoseal_verify_expected(const chronoseal_verifier* verifier,
                                             const chronoseal_stamp* stamp,
                                             const chronoseal_expected* expected,
                                             chronoseal_verdict** verdict,
                                             chronoseal_error** error) {
    return verify(verifier, stamp, verdict, error, [&](const Verifier& by, const Stamp& of) {
        return by.verify(of, expected_of(expected));
    });
}

chronoseal_status chronoseal_verify_token(const chronoseal_verifier* verifier,
                                          const chronoseal_stamp* stamp,
                                          chronoseal_verdict** verdict, chronoseal_error** error) {
    return verify(verifier, stamp, verdict, error,
                  [&](const Verifier& by, const Stamp& of) { return by.verify_token(of); });
}

void chronoseal_verifier_free(chronoseal_verifier** verifier) {
    release(verifier);
}

chronoseal_status chronoseal_verdict_get_info(const chronoseal_verdict* verdict,
                                              const chronoseal_verdict_info** info,
                                              chronoseal_error** error) {
    return give_info(verdict, "verdict", info, error);
}

chronoseal_status chronoseal_verdict_finding(const chronoseal_verdict* verdict, size_t check,
                                             const chronoseal_finding** finding,
                                             chronoseal_error** error) {
    return give(finding, "finding", error, [&] {
        const auto& all = needed(verdict, "verdict").findings;
        if (check >= all.size()) {
            throw Error(Category::misuse, "index_too_large", 0, "there is no such check",
                        "count to CHRONOSEAL_CHECKS - 1");
        }
        return all.at(check);
    });
}

void chronoseal_verdict_free(chronoseal_verdict** verdict) {
    release(verdict);
}
