// The machine's policy and health, by callbacks.
#include <chronoseal/c_interface/call.h>
#include <chronoseal/c_interface/options.h>

using namespace chronoseal;
using namespace chronoseal::c_interface;

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
            const chronoseal_setting view{key.c_str(), value.c_str(), source.c_str(),
                                          setting.problem.c_str(), setting.fatal ? 1 : 0};
            if (each(user, &view) != 0) {
                break;
            }
        }
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
