// The machine's policy, stores, trusted roots and health, by callbacks.
#include <chronoseal/c_interface/call.h>
#include <chronoseal/c_interface/options.h>
#include <chronoseal/c_interface/view.h>

using namespace chronoseal;
using namespace chronoseal::c_interface;

static_assert(static_cast<int>(SettingState::unknown) == CHRONOSEAL_SETTING_UNKNOWN);

namespace {

StorePlace place_of(const chronoseal_place& place) {
    return chosen(place, CHRONOSEAL_PLACE_MACHINE, "place") == CHRONOSEAL_PLACE_USER
               ? StorePlace::user
               : StorePlace::machine;
}

} // namespace

chronoseal_status chronoseal_policy(int (*each)(void* user, const chronoseal_setting* setting),
                                    void* user, int* usable, chronoseal_error** error) {
    return call(error, [&] {
        if (usable != nullptr) {
            *usable = 0;
        }
        needed(each, "each");
        const MachinePolicy machine = policy();
        if (usable != nullptr) {
            *usable = machine.usable ? 1 : 0;
        }
        for (const Setting& setting : machine.settings) {
            // Keys that mean nothing are whatever somebody wrote.
            const std::string key = quote_foreign(setting.key);
            const std::string value = quote_foreign(setting.value);
            const std::string source = quote_foreign(setting.source);
            const chronoseal_setting view{
                key.c_str(),           value.c_str(),
                source.c_str(),        setting.problem.c_str(),
                setting.fatal ? 1 : 0, static_cast<chronoseal_setting_state>(setting.state)};
            if (each(user, &view) != 0) {
                break;
            }
        }
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_policy_problems(int (*each)(void* user, const char* problem),
                                             void* user, chronoseal_error** error) {
    return call(error, [&] {
        needed(each, "each");
        for (const std::string& problem : policy().problems) {
            if (each(user, problem.c_str()) != 0) {
                break;
            }
        }
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_stores(int (*each)(void* user, const chronoseal_store* store),
                                    void* user, chronoseal_error** error) {
    return call(error, [&] {
        needed(each, "each");
        for (const StoreInfo& store : policy().stores) {
            const chronoseal_store view{store.name.c_str(), store.certificates,
                                        store.revocation_lists, store.problem.c_str()};
            if (each(user, &view) != 0) {
                break;
            }
        }
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_trusted_roots(int (*each)(void* user,
                                                       const chronoseal_trusted_root* root),
                                           void* user, chronoseal_error** error) {
    return call(error, [&] {
        needed(each, "each");
        for (const TrustedRoot& root : trusted_roots()) {
            Kept kept;
            const chronoseal_trusted_root view{view_of(kept, root.certificate), root.place.c_str()};
            if (each(user, &view) != 0) {
                break;
            }
        }
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_trust_root(const chronoseal_source* root, const void* sha256,
                                        size_t size, chronoseal_place place,
                                        chronoseal_error** error) {
    return call(error, [&] {
        needed(root, "root");
        trust_root(sources_of(root, 1, "root").front(), needed_bytes(sha256, size, "sha256"),
                   place_of(place));
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_distrust_root(const void* sha256, size_t size, chronoseal_place place,
                                           chronoseal_error** error) {
    return call(error, [&] {
        distrust_root(needed_bytes(sha256, size, "sha256"), place_of(place));
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_diagnose(const chronoseal_sealer_options* options, int ask,
                                      int (*each)(void* user,
                                                  const chronoseal_diagnosis* diagnosis),
                                      void* user, chronoseal_error** error) {
    return call(error, [&] {
        needed(each, "each");
        for (const Diagnosis& diagnosis : diagnose(options_of(options), ask != 0)) {
            const chronoseal_diagnosis view{
                diagnosis.area.c_str(), static_cast<chronoseal_severity>(diagnosis.severity),
                diagnosis.word.c_str(), diagnosis.text.c_str(), diagnosis.advice.c_str()};
            if (each(user, &view) != 0) {
                break;
            }
        }
        return CHRONOSEAL_OK;
    });
}
