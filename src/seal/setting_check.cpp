// The judgement of the machine's settings, group by group.
#include <chronoseal/seal/setting_check.h>

#include <algorithm>
#include <charconv>

#include <chronoseal/seal/configuration_value.h>
#include <chronoseal/seal/endpoint.h>
#include <chronoseal/seal/request_bytes.h>
#include <chronoseal/seal/request_rules.h>
#include <chronoseal/seal/running_hash.h>
#include <chronoseal/seal/sunset.h>

namespace chronoseal {

namespace {

using List = std::vector<std::string>;

const std::string kPolicy = "\\config\\cades\\tsppolicy\\";
const std::string kAuthorities = "\\config\\chronoseal\\authority\\";
const std::string kSunset = "\\config\\chronoseal\\sunset\\";

class Marks {
public:
    explicit Marks(std::vector<Setting>& settings) : settings_(settings) {}

    std::vector<std::string> paths_below(const std::string& folder) const {
        std::vector<std::string> paths;
        for (const Setting& setting : settings_) {
            if (setting.key.starts_with(toml_path(folder))) {
                std::string path = "\\" + setting.key;
                std::ranges::replace(path, '.', '\\');
                paths.push_back(std::move(path));
            }
        }
        return paths;
    }
    void fault(const std::string& path, const std::string& problem) { mark(path, problem, true); }
    void slip(const std::string& path, const std::string& problem) { mark(path, problem, false); }
    // What the call says against it by its Error.
    template <class Call>
    void object(const std::string& path, bool fatal, Call&& call) {
        try {
            call();
        } catch (const Error& error) {
            mark(path, error.text(), fatal);
        }
    }

private:
    void mark(const std::string& path, const std::string& problem, bool fatal) {
        const auto found = std::ranges::find(settings_, toml_path(path), &Setting::key);
        if (found != settings_.end() && found->state == SettingState::set) {
            found->state = SettingState::not_allowed;
            found->problem = problem;
            found->fatal = fatal;
        }
    }

    std::vector<Setting>& settings_;
};

bool holds(const List& list, const std::string& text) {
    return std::ranges::find(list, text) != list.end();
}

void check_nonces(Marks& marks) {
    const auto is_on = [](const char* key, bool otherwise) {
        return configured_switch(kPolicy + key).value_or(otherwise);
    };
    const bool required = is_on("RequireNonce", false);
    const bool forbidden = is_on("DisableNonce", false);
    const bool usual = is_on("UseNonceByDefault", true);
    if (required && forbidden) {
        for (const char* key : {"RequireNonce", "DisableNonce"}) {
            marks.fault(kPolicy + key,
                        "no request passes while RequireNonce and DisableNonce are true");
        }
    } else if (forbidden && usual) {
        marks.slip(kPolicy + "DisableNonce",
                   "requests carry a nonce unless UseNonceByDefault is false, and are refused");
    } else if (required && !usual) {
        marks.slip(kPolicy + "UseNonceByDefault",
                   "RequireNonce refuses the requests that this makes");
    }
}

void check_identifiers(Marks& marks, const char* key) {
    for (const std::string& entry : configured_list(kPolicy + key).value_or(List())) {
        if (!is_object_identifier(entry)) {
            marks.slip(kPolicy + key, "\"" + quote_foreign(entry) +
                                          "\" is no object identifier, and fits nothing");
        }
    }
}

void check_hashes(Marks& marks) {
    const auto allowed = configured_list(kPolicy + "HashAlgsAllowed");
    const List denied = configured_list(kPolicy + "HashAlgsDenied").value_or(List());
    const std::string lists = kPolicy + (allowed ? "HashAlgsAllowed" : "HashAlgsDenied");
    const auto passes = [&](const std::string& oid) {
        return (!allowed || holds(*allowed, oid)) && !holds(denied, oid);
    };
    List candidates = allowed.value_or(List());
    for (const HashAlgorithm& one : HashAlgorithm::all()) {
        candidates.push_back(one.oid());
    }
    if (std::ranges::none_of(candidates, [&](const std::string& oid) {
            return passes(oid) && HashAlgorithmAccess::find(oid);
        })) {
        marks.fault(lists, "it leaves no hash algorithm; they are named by their OIDs");
    }
    check_identifiers(marks, "HashAlgsAllowed");
    check_identifiers(marks, "HashAlgsDenied");
    const std::string text = configured_text(kPolicy + "DefaultHashAlg").value_or("");
    try {
        const HashAlgorithm usual = default_hash(text);
        if (!passes(usual.oid())) {
            marks.slip(text.empty() ? lists : kPolicy + "DefaultHashAlg",
                       usual.name() + ", which requests are made by, isn't allowed");
        }
    } catch (const Error& error) {
        marks.fault(kPolicy + "DefaultHashAlg", error.text());
    }
}

void check_policy_ids(Marks& marks) {
    check_identifiers(marks, "AllowedPolicyID");
    const std::string path = kPolicy + "DefaultPolicyID";
    const std::string usual = configured_text(path).value_or("");
    const auto allowed = configured_list(kPolicy + "AllowedPolicyID");
    if (usual.empty()) {
        return;
    }
    if (!is_object_identifier(usual)) {
        marks.fault(path, "it isn't an object identifier: numbers with dots, 1.2.3.4");
    } else if (configured_switch(kPolicy + "DisablePolicyID").value_or(false)) {
        marks.fault(path, "DisablePolicyID refuses the requests that ask for it");
    } else if (allowed && !holds(*allowed, usual)) {
        marks.slip(path, "AllowedPolicyID doesn't hold it");
    }
}

// The address of an authority, or of an Authenticode server, against its list.
void check_server(Marks& marks, const std::string& path, const char* list_key, bool needed) {
    const auto url = configured_text(path);
    if (!url || (url->empty() && !needed)) {
        return;
    }
    const auto list = configured_list(kPolicy + list_key);
    marks.object(path, needed, [&] {
        if (!holds(list.value_or(List{settled_address(*url)}), settled_address(*url))) {
            marks.slip(path, std::string(list_key) + " doesn't hold it");
        }
    });
}

void check_proxy_at(Marks& marks, const std::string& path, bool needed) {
    marks.object(path, needed, [&] { check_proxy(configured_text(path).value_or("")); });
}

void check_roots_of_tls(Marks& marks, const std::string& path) {
    marks.object(path, false, [&] { check_ca_file(configured_text(path).value_or("")); });
}

void check_proxies(Marks& marks) {
    const std::string path = kPolicy + "DefaultProxy";
    const std::string usual = configured_text(path).value_or("");
    const auto allowed = configured_list(kPolicy + "AllowedProxies");
    check_proxy_at(marks, path, true);
    check_proxy_at(marks, "\\config\\network\\FetchProxy", false);
    if (allowed && allowed->empty()) {
        marks.fault(kPolicy + "AllowedProxies",
                    "it allows nothing, not even the direct connection, which is the entry \"\"");
    } else if (allowed && !holds(*allowed, usual)) {
        marks.slip(kPolicy + "AllowedProxies",
                   usual.empty() ? "it lacks the direct connection, which is the entry \"\""
                                 : "it doesn't hold DefaultProxy");
    }
}

// How many tables there are before one without an address, where the list ends.
std::size_t asked_authorities() {
    std::size_t count = 0;
    while (count < kMostAuthorities &&
           configured_text(kAuthorities + std::to_string(count) + "\\Url")) {
        ++count;
    }
    return count;
}

void check_authority(Marks& marks, const std::string& table) {
    check_server(marks, table + "Url", "AllowedTSPs", true);
    check_proxy_at(marks, table + "Proxy", true);
    check_roots_of_tls(marks, table + "CaFile");
}

void check_authorities(Marks& marks) {
    const std::size_t asked = asked_authorities();
    for (std::size_t i = 0; i < asked; ++i) {
        check_authority(marks, kAuthorities + std::to_string(i) + "\\");
    }
    const std::string why = asked == kMostAuthorities
                                ? "only the first 64 authorities are asked"
                                : "it isn't used: the list ends before table " +
                                      std::to_string(asked + 1) +
                                      " of [[config.chronoseal.authority]], which has no Url";
    for (const std::string& path : marks.paths_below(kAuthorities)) {
        const std::string number =
            path.substr(kAuthorities.size(), path.rfind('\\') - kAuthorities.size());
        std::size_t index = kMostAuthorities;
        std::from_chars(number.data(), number.data() + number.size(), index);
        if (index >= asked) {
            marks.slip(path, why);
        }
    }
    check_server(marks, kPolicy + "DefaultTSPURL", "AllowedTSPs", asked == 0);
}

void check_sunsets(Marks& marks) {
    for (const std::string& path : marks.paths_below(kSunset)) {
        const auto text = configured_text(path);
        if (text && *text != "never" && !date_of(*text)) {
            marks.slip(path, "it has to be \"YYYY-MM\", \"YYYY-MM-DD\" or \"never\"; the date that "
                             "is built in holds");
        }
    }
}

} // namespace

void check_settings(std::vector<Setting>& settings) {
    Marks marks(settings);
    check_nonces(marks);
    check_hashes(marks);
    check_policy_ids(marks);
    if (const auto allowed = configured_list(kPolicy + "AllowedTSPs");
        allowed && allowed->empty()) {
        marks.fault(kPolicy + "AllowedTSPs", "it allows no authority");
    }
    check_proxies(marks);
    check_authorities(marks);
    check_server(marks, kPolicy + "DefaultMSTSPURL", "AllowedMSTSPs", false);
    check_roots_of_tls(marks, "\\config\\network\\CaFile");
    check_sunsets(marks);
}

} // namespace chronoseal
