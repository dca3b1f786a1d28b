// Renewing. Every record is judged before anybody is asked, and again before its new form takes the
// place of the old: a renewal that loses the old proof, or one of a record that proves nothing,
// would be noticed years too late.
#include "renew_command.h"

#include <algorithm>
#include <map>
#include <memory>

#include <fmt/format.h>

#include "input_file.h"
#include "interruption.h"
#include "left_behind.h"
#include "named_failure.h"
#include "output_file.h"
#include "place_set.h"
#include "progress.h"
#include "record_text.h"
#include "record_verification.h"
#include "stamp_json.h"
#include "stamp_text.h"
#include "trust_command.h"

namespace cli {

namespace {

using chronoseal::DataDigests;
using chronoseal::Digest;
using chronoseal::Error;
using chronoseal::EvidenceRecord;
using chronoseal::EvidenceVerdict;
using chronoseal::HashAlgorithm;
using chronoseal::quote_foreign;
using chronoseal::Stamp;
using Json = nlohmann::ordered_json;

constexpr std::string_view kStampSuffix = ".tsr";

void check_usage(const RenewOptions& options) {
    if (options.files.size() > 1 &&
        (!options.data.empty() || !options.out.empty() || !options.manifest.empty())) {
        throw usage_error("--data, --manifest and --out go with one record only",
                          "leave them out: the file beside each record is its data");
    }
    if (!options.manifest.empty() && options.hash.empty()) {
        throw usage_error("--manifest is a list by a new hash", "name the hash by --hash");
    }
    if (options.convert_only && !options.hash.empty()) {
        throw usage_error("--convert-only adds nothing, and --hash does", "leave one out");
    }
    if (std::ranges::find(options.files, "-") != options.files.end() || options.out == "-") {
        throw usage_error("records are renewed in files", "name files");
    }
    if (options.data == "-" || options.manifest == "-") {
        throw usage_error("what is renewed may have to be hashed more than once",
                          "give data and lists as files, not by standard input");
    }
}

// A record, or a stamp that becomes one, with what it takes to judge it.
struct Item {
    std::string file;
    EvidenceRecord record;
    bool was_stamp = false;
    std::string data; // empty: none at hand
    OutputFile out;
    std::vector<DataDigests> objects;    // by the record's hashes
    std::vector<Digest> renewed_objects; // by the new hash
    chronoseal::Bytes text = {};         // PEM or Base64, whose form is kept; empty: DER
};

// Records that share the next stamp.
struct Group {
    std::unique_ptr<chronoseal::Sealer> sealer;
    std::vector<std::size_t> members;
};

class RenewRun {
public:
    RenewRun(const RenewOptions& options, const Output& output)
        : options_(options), output_(output), verifier_(trust_of(options.trust)), results_(output) {
        if (!options.hash.empty()) {
            hash_ = HashAlgorithm::by_name(options.hash);
            if (hash_->weak()) {
                throw usage_error("renewal by " + hash_->name() + " protects nothing",
                                  "take sha256 or a longer one");
            }
        }
    }

    ExitStatus run() {
        const Interruption interruption;
        stop_ = interruption.token();
        PlaceSet places;
        for (const std::string& file : options_.files) {
            items_.push_back(load(file));
            places.add_or_refuse(items_.back().out.path(), "records", "name each record once");
        }
        if (!options_.manifest.empty()) {
            places.add_or_refuse(options_.manifest + ".ers", "records",
                                 "name another place by --out");
        }
        if (!options_.convert_only) {
            group();
        }
        for (Item& item : items_) {
            prepare(item);
        }
        if (options_.convert_only) {
            for (const Item& item : items_) {
                write(
                    item, [&] { return item.record; }, nullptr);
            }
        } else {
            look_beside();
            for (const auto& [oid, group] : groups_) {
                renew(group);
            }
        }
        return finish();
    }

private:
    ExitStatus finish() {
        Json members;
        if (output_.format() == Format::json) {
            members["files"] = results_.take();
        }
        members["summary"] = {{"renewed", renewed_}, {"failed", failed_}, {"stamps", stamps_}};
        members["leftBehind"] = left_behind_.files();
        if (!left_behind_.files().empty()) {
            output_.note(left_behind_.text());
        }
        output_.object(status_ == ExitStatus::good, members);
        return status_;
    }

    Item load(const std::string& file) const {
        try {
            return loaded(file);
        } catch (const Error& error) {
            throw about_file(file, "renew", error);
        }
    }

    // Stamps within a signature have no place for another over them; the file as a whole has.
    static void refuse_signed_message(const chronoseal::Inspection& found) {
        if (!found.stamp && !found.stamps.empty()) {
            throw Error(chronoseal::Category::refused, "not_a_record", 0,
                        "it is " + found.description +
                            ", and renewed are evidence records and stamps in files of their own",
                        "put the evidence into it by chronoseal extend; then stamp the whole file, "
                        "and renew that stamp");
        }
    }

    Item loaded(const std::string& file) const {
        chronoseal::Bytes bytes = read_file(file, kLargestMessage, stop_);
        const chronoseal::Inspection found = chronoseal::inspect(bytes);
        refuse_signed_message(found);
        const bool was_stamp = found.stamp.has_value();
        refuse_more_behind(found);
        EvidenceRecord record =
            was_stamp ? EvidenceRecord::of_stamp(*found.stamp) : EvidenceRecord::read(bytes);
        const std::string stem =
            file.ends_with(kStampSuffix) ? file.substr(0, file.size() - kStampSuffix.size()) : file;
        const std::string data = !options_.data.empty() ? options_.data
                                 : was_stamp            ? file_beside_record(stem + ".ers")
                                                        : file_beside_record(file);
        const std::string place = !options_.out.empty() ? options_.out
                                  : was_stamp           ? stem + ".ers"
                                                        : in_place(file);
        const bool own = place == file || (options_.out.empty() && !was_stamp);
        Item item{file,
                  std::move(record),
                  was_stamp,
                  data,
                  OutputFile(place, existing_of(own || options_.force),
                             options_.files.size() > 1 ? nullptr : "--out"),
                  {},
                  {}};
        item.out.check(
            files_of(options_.trust, files_of(options_.authority, {own ? "" : file, data})));
        if (!was_stamp && found.form != chronoseal::Form::binary) {
            chronoseal::rewrap(bytes, item.record.der()); // refuses what would be harmed by it
            item.text = std::move(bytes);
        }
        return item;
    }

    // Records by the hash of their renewal, each with whom to ask: what the policy or the options
    // forbid is told before anything is hashed, and before the first stamp is asked for.
    void group() {
        for (std::size_t i = 0; i < items_.size(); ++i) {
            const HashAlgorithm algorithm = hash_ ? *hash_ : items_[i].record.renewal_algorithm();
            Group& group = groups_[algorithm.oid()];
            group.members.push_back(i);
            if (group.sealer == nullptr) {
                group.sealer = make_sealer(algorithm);
            }
        }
    }

    // Hashes the data, and judges what is there.
    void prepare(Item& item) {
        if (!item.data.empty()) {
            item.objects.push_back(chronoseal::digests_of_file(item.record, item.data, {}, stop_));
            if (hash_) {
                item.renewed_objects.push_back(
                    digest_of(item.data, *hash_, !output_.quiet(), stop_));
            }
        } else if (hash_) {
            throw usage_error(fmt::format("can't renew {} by a new hash without its data",
                                          quote_foreign(item.file)),
                              "give the data by --data FILE");
        }
        if (hash_ && item.record.info().stamps.front().lists.size() > 0 &&
            item.record.info().stamps.front().lists.front() > 1) {
            throw Error(chronoseal::Category::refused, "record_of_group", 0,
                        fmt::format("{} may be of several files that belong together, and a new "
                                    "hash would have to be over all of them",
                                    quote_foreign(item.file)),
                        "renew it by a new time-stamp, or where all files are at hand");
        }
        judge(item, item.record, item.objects);
    }

    EvidenceVerdict judge(const Item& item, const EvidenceRecord& record,
                          const std::vector<DataDigests>& objects) const {
        EvidenceVerdict verdict = verifier_.verify(record, objects);
        if (!verdict.good()) {
            const Error error = with_trust_call(*verdict.failure, "ROOT.pem");
            throw Error(error.category(), error.word(), error.code(),
                        fmt::format("can't renew {}: {}", quote_foreign(item.file), error.text()),
                        error.advice());
        }
        return verdict;
    }

    void look_beside() {
        for (const Item& item : items_) {
            left_behind_.add(item.file, item.record);
        }
        left_behind_.look();
    }

    std::unique_ptr<chronoseal::Sealer> make_sealer(const HashAlgorithm& algorithm) const {
        chronoseal::SealerOptions result;
        apply(options_.authority, result);
        result.hash = algorithm.oid();
        result.trust = trust_of(options_.trust);
        result.certificates = true; // who judges it in twenty years finds them nowhere else
        return std::make_unique<chronoseal::Sealer>(result);
    }

    // What fails for one group costs the others nothing.
    void renew(const Group& group) {
        try {
            if (group.sealer->hash().weak()) {
                output_.note(fmt::format("renewed by {}, which is weak: begin a new chain by "
                                         "--hash sha256 while the data is at hand",
                                         group.sealer->hash().name()));
            }
            if (!options_.manifest.empty()) {
                renew_list(items_.front(), *group.sealer);
            } else if (hash_) {
                renew_data(group);
            } else {
                renew_stamps(group);
            }
        } catch (const Error& error) {
            if (groups_.size() == 1) {
                throw; // nothing else is left to tell of
            }
            for (const std::size_t i : group.members) {
                fail(items_[i], error);
            }
        }
    }

    void renew_data(const Group& group) {
        chronoseal::HashRenewal renewal(group.sealer->hash());
        for (const std::size_t i : group.members) {
            renewal.add(items_[i].record, items_[i].renewed_objects);
        }
        const Stamp stamp = ask(*group.sealer, renewal.digest());
        for (const std::size_t i : group.members) {
            const Item& item = items_[i];
            write(
                item, [&] { return renewal.renewed(item.record, item.renewed_objects, stamp); },
                &stamp);
        }
    }

    void renew_stamps(const Group& group) {
        chronoseal::StampRenewal renewal(group.sealer->hash());
        for (const std::size_t i : group.members) {
            renewal.add(items_[i].record);
        }
        const Stamp stamp = ask(*group.sealer, renewal.digest());
        for (const std::size_t i : group.members) {
            write(
                items_[i], [&] { return renewal.renewed(items_[i].record, stamp); }, &stamp);
        }
    }

    Stamp ask(const chronoseal::Sealer& sealer, const Digest& digest) {
        Stamp stamp = sealer.seal_digest(digest, stop_);
        ++stamps_;
        return stamp;
    }

    // A list whose files were hashed elsewhere, by the new hash.
    void renew_list(const Item& item, const chronoseal::Sealer& sealer) {
        const OutputFile beside(options_.manifest + ".ers", existing_of(options_.force));
        beside.check({item.file, item.data, options_.manifest});
        ByteProgress progress("lists", !output_.quiet());
        chronoseal::ManifestRenewal renewal(
            item.data, item.record, options_.manifest,
            [&](std::uint64_t done, std::uint64_t total) { progress.show(done, total); }, stop_);
        if (renewal.renewed_info().algorithm != *hash_) {
            throw usage_error(fmt::format("{} is by {}, not by --hash",
                                          quote_foreign(options_.manifest),
                                          renewal.renewed_info().algorithm.name()),
                              "choose the hash of the list");
        }
        const Stamp stamp = ask(sealer, renewal.digest());
        // Written first: what is renewed wants the list that it was renewed with, and its record.
        const Item list{options_.manifest,
                        renewal.renewed_list(stamp),
                        false,
                        options_.manifest,
                        beside,
                        {{renewal.renewed_info().digest}},
                        {}};
        const EvidenceVerdict verdict = judge(list, list.record, list.objects);
        const EvidenceRecord renewed = renewal.renewed(stamp);
        judge(item, renewed, renewed_objects(item));
        beside.write(list.record.der());
        tell(list, verdict, stamped_text("stamped", stamp), &stamp);
        write(
            item, [&] { return renewed; }, &stamp);
    }

    // The data by all hashes of the record once it is renewed.
    std::vector<DataDigests> renewed_objects(const Item& item) const {
        std::vector<DataDigests> objects = item.objects;
        if (hash_) {
            objects.front().push_back(item.renewed_objects.front());
        }
        return objects;
    }

    static std::string stamped_text(const char* word, const Stamp& stamp) {
        return fmt::format("{} {} by {}", word, chronoseal::utc_text(stamp.time()),
                           authority_text(stamp.info()));
    }

    // The stamp has been paid for: a record that can't be made or written doesn't end the others.
    template <class Make>
    void write(const Item& item, Make&& make, const Stamp* stamp) {
        try {
            const EvidenceRecord record = make();
            const EvidenceVerdict verdict = judge(item, record, renewed_objects(item));
            item.out.write(item.text.empty() ? record.der()
                                             : chronoseal::rewrap(item.text, record.der()));
            ++renewed_;
            tell(item, verdict,
                 stamp != nullptr ? stamped_text("renewed", *stamp)
                                  : "made into an evidence record",
                 stamp);
        } catch (const Error& error) {
            fail(item, error);
        }
    }

    void fail(const Item& item, const Error& error) {
        const Error told = about_file(item.file, "renew", with_trust_call(error, "ROOT.pem"));
        if (items_.size() == 1) {
            throw Error(told);
        }
        output_.failure(told);
        status_ = worse(status_, status_of(told.category()));
        ++failed_;
        results_.add({{"file", item.file}, {"ok", false}, {"error", error_json(told)}});
    }

    void tell(const Item& item, const EvidenceVerdict& verdict, const std::string& what,
              const Stamp* stamp) {
        output_.text(fmt::format("{}: {} -> {}\n{}", quote_foreign(item.file), what,
                                 quote_foreign(item.out.path()), stamps_text(verdict, output_)));
        Json json = {{"file", item.file},
                     {"ok", true},
                     {"out", item.out.path()},
                     {"url", stamp != nullptr ? Json(stamp->authority()) : Json(nullptr)},
                     {"compared", verdict.compared}};
        json.update(to_json(verdict));
        results_.add(std::move(json));
    }

    const RenewOptions& options_;
    const Output& output_;
    chronoseal::EvidenceVerifier verifier_;
    std::optional<HashAlgorithm> hash_;
    std::stop_token stop_;
    std::vector<Item> items_;
    std::map<std::string, Group> groups_; // by the OID of their hash
    LeftBehind left_behind_;
    ResultList results_;
    std::uint64_t renewed_ = 0, failed_ = 0, stamps_ = 0;
    ExitStatus status_ = ExitStatus::good;
};

} // namespace

ExitStatus run_renew(const RenewOptions& options, const Output& output) {
    check_usage(options);
    return RenewRun(options, output).run();
}

} // namespace cli
