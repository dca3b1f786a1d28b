// One stamp for many. The list of hashes is a plain sha256sum list; it is stamped as a leaf beside
// its own lines, so that list and record together prove every file and its name.
#include "together_command.h"

#include <algorithm>
#include <filesystem>
#include <unordered_set>

#include <fmt/format.h>

#include "input_file.h"
#include "interruption.h"
#include "many_files.h"
#include "named_failure.h"
#include "output_file.h"
#include "place_set.h"
#include "progress.h"
#include "record_text.h"
#include "stamp_json.h"
#include "stamp_text.h"

namespace cli {

namespace {

using chronoseal::Bytes;
using chronoseal::Digest;
using chronoseal::Error;
using chronoseal::EvidenceRecord;
using chronoseal::EvidenceTree;
using chronoseal::HashAlgorithm;
using chronoseal::HashPath;
using chronoseal::ManifestTree;
using chronoseal::quote_foreign;
using chronoseal::Sealer;
using chronoseal::Stamp;
using Json = nlohmann::ordered_json;

void check_usage(const StampOptions& options) {
    if (options.files.empty()) {
        throw usage_error(options.together ? "stamp --together wants files or folders"
                                           : "stamp --manifest wants lists of hashes",
                          options.together ? "chronoseal stamp --together folder --out case"
                                           : "chronoseal stamp --manifest sums.sha256");
    }
    if (options.together == options.out.empty()) {
        throw usage_error(options.together
                              ? "stamp --together wants --out, the name of what is written"
                              : "stamp --manifest writes FILE.ers beside each list",
                          options.together ? "--out case writes case.sha256 and case.sha256.ers"
                                           : "leave out --out");
    }
    if (!options.token_out.empty() || !options.certs_out.empty() || !options.crls_out.empty() ||
        !options.digest.empty() || options.skip_existing || options.authority.quorum > 1) {
        throw usage_error("--digest, --token-out, --certs-out, --crls-out, --skip-existing and "
                          "--quorum don't go with --together and --manifest",
                          "leave them out");
    }
    if (std::ranges::find(options.files, "-") != options.files.end()) {
        throw usage_error("standard input can't be one of many", "write it to a file first");
    }
    const std::string name = options.out.substr(options.out.rfind('/') + 1);
    if (options.together && (name.empty() || name == "-" || name == "." || name == "..")) {
        throw usage_error(fmt::format("--together writes two files, and --out {} doesn't name them",
                                      quote_foreign(options.out)),
                          "--out case writes case.sha256 and case.sha256.ers");
    }
}

Sealer make_sealer(const StampOptions& options, const std::string& hash) {
    chronoseal::SealerOptions result;
    apply(options.authority, result);
    apply(options.request, result);
    result.trust = trust_of(options.trust);
    result.verify = !options.no_verify;
    result.certificates = true; // who judges a record in twenty years finds them nowhere else
    if (!hash.empty()) {
        result.hash = hash;
    }
    return Sealer(result);
}

// "sha256", as the name of a list ends.
std::string list_suffix(const HashAlgorithm& algorithm) {
    for (const auto& [name, suffix] :
         {std::pair{"SHA-256", "sha256"}, {"SHA-384", "sha384"}, {"SHA-512", "sha512"}}) {
        if (algorithm.name() == name) {
            return suffix;
        }
    }
    throw usage_error("lists are of SHA-256, SHA-384 or SHA-512, not of " + algorithm.name(),
                      "choose by --hash");
}

// Writes and tells of one list's record.
class Results {
public:
    Results(const StampOptions& options, const Output& output)
        : options_(options), output_(output), results_(output) {}

    // Of many lists: the stamp has been paid for, and one that can't be written doesn't end the
    // others.
    void try_add(const std::string& list, std::uint64_t lines, const OutputFile& out,
                 const EvidenceRecord& record, const Stamp& stamp) {
        try {
            add(list, lines, out, record, stamp);
        } catch (const Error& error) {
            if (options_.files.size() == 1) {
                throw;
            }
            output_.failure(error);
            status_ = worse(status_, status_of(error.category()));
            results_.add({{"file", list}, {"ok", false}, {"error", error_json(error)}});
        }
    }

    void add(const std::string& list, std::uint64_t lines, const OutputFile& out,
             const EvidenceRecord& record, const Stamp& stamp) {
        out.write(record.der());
        output_.text(stamped_text(fmt::format("{}: {}", quote_foreign(list),
                                              counted(lines, options_.together ? "file" : "line")),
                                  stamp, !options_.no_verify, out.path()));
        Json json = {{"file", list},
                     {"ok", true},
                     {"out", out.path()},
                     {"lines", lines},
                     {"attempts", stamp.attempts()}};
        json.update(to_json(stamp, !options_.no_verify));
        results_.add(std::move(json));
        ++stamped_;
    }

    // What lies in the folders and isn't in the list.
    void leave_out(const std::vector<LeftOut>& left_out) {
        constexpr std::size_t kMostNames = 5; // that are told one by one
        std::string names;
        for (std::size_t i = 0; i < left_out.size(); ++i) {
            const LeftOut& one = left_out[i];
            if (i < kMostNames) {
                names += (i == 0 ? "" : ", ") + quote_foreign(one.name);
            }
            results_.add({{"file", one.name},
                          {"ok", true},
                          {"skipped", one.is_link ? "symbolic_link" : "not_a_file"}});
        }
        if (!left_out.empty()) {
            output_.note(fmt::format("left out, being links, pipes or devices within folders: {}{}",
                                     names,
                                     left_out.size() > kMostNames
                                         ? fmt::format(" and {} more", left_out.size() - kMostNames)
                                         : std::string()));
        }
    }

    ExitStatus finish() {
        Json members;
        if (output_.format() == Format::json) {
            members["files"] = results_.take();
        }
        members["summary"] = {{"stamped", stamped_}};
        output_.object(status_ == ExitStatus::good, members);
        return status_;
    }

private:
    const StampOptions& options_;
    const Output& output_;
    ResultList results_;
    std::uint64_t stamped_ = 0;
    ExitStatus status_ = ExitStatus::good;
};

bool is_same_file(const std::string& a, const std::string& b) {
    std::error_code problem;
    return std::filesystem::equivalent(a, b, problem) && !problem;
}

// The files' hashes as a list. Throws for the first that can't be read: a list that lacks one
// silently would be worse than none.
struct HashedList {
    std::string text;
    std::uint64_t lines = 0;
};

HashedList hash_together(const std::vector<std::string>& files, const HashAlgorithm& algorithm,
                         EvidenceTree& tree, bool show_progress, const std::stop_token& stop) {
    const auto hashed = hash_files(files, algorithm, show_progress, stop);
    HashedList list;
    for (std::size_t i = 0; i < files.size(); ++i) {
        if (hashed[i].error) {
            throw Error(*hashed[i].error);
        }
        const Digest digest(algorithm, hashed[i].digest);
        tree.add(digest);
        list.text += chronoseal::manifest_line(digest, files[i]);
        ++list.lines;
    }
    return list;
}

// A file that is named, and lies in a folder that is, has one line.
void list_once(std::vector<std::string>& files) {
    std::unordered_set<std::string> listed;
    std::erase_if(files, [&](const std::string& file) {
        return !listed.insert(std::filesystem::path(file).lexically_normal().string()).second;
    });
}

ExitStatus stamp_together(const StampOptions& options, const Output& output) {
    const Sealer sealer = make_sealer(options, {});
    const std::string list_name = options.out + "." + list_suffix(sealer.hash());
    const OutputFile list_file(list_name, existing_of(options.force));
    const OutputFile record_file(list_name + ".ers", existing_of(options.force));
    const Interruption interruption;
    std::ranges::for_each(options.files, refuse_pipe);
    FilesBelow below = files_below(options.files);
    std::vector<std::string>& files = below.files;
    // What an earlier run wrote isn't stamped again; a file named by itself is an input.
    std::erase_if(files, [&](const std::string& file) {
        const bool own = is_same_file(file, list_name) || is_same_file(file, record_file.path());
        return own && std::ranges::find(options.files, file) == options.files.end();
    });
    list_once(files);
    if (files.empty()) {
        throw Error(chronoseal::Category::refused, "no_files", 0, "there is no file to stamp",
                    "name files, or folders that hold some");
    }
    const std::vector<std::string> inputs =
        files_of(options.trust, files_of(options.authority, options.files));
    list_file.check(inputs);
    record_file.check(inputs);
    EvidenceTree tree(sealer.hash());
    tree.reserve(files.size() + 1);
    const HashedList list =
        hash_together(files, sealer.hash(), tree, !output.quiet(), interruption.token());
    const Digest own = Digest::of(chronoseal::bytes_of(list.text), sealer.hash());
    tree.add(own);
    const Stamp stamp = sealer.seal_digest(tree.root(), interruption.token());
    const EvidenceRecord record = tree.record(own, stamp);
    list_file.write(chronoseal::bytes_of(list.text));
    Results results(options, output);
    results.add(list_name, list.lines, record_file, record, stamp);
    results.leave_out(below.left_out);
    return results.finish();
}

std::vector<ManifestTree> read_lists(const StampOptions& options, const Output& output,
                                     const std::stop_token& stop) {
    std::vector<ManifestTree> lists;
    for (const std::string& name : options.files) {
        ByteProgress progress(quote_foreign(name), !output.quiet());
        lists.emplace_back(
            name, [&](std::uint64_t done, std::uint64_t total) { progress.show(done, total); },
            stop);
        if (lists.back().info().algorithm != lists.front().info().algorithm) {
            throw usage_error(fmt::format("{} is by {}, and {} by {}: one stamp is over one hash",
                                          quote_foreign(name), lists.back().info().algorithm.name(),
                                          quote_foreign(options.files.front()),
                                          lists.front().info().algorithm.name()),
                              "stamp the lists of each hash by a call of their own");
        }
    }
    return lists;
}

ExitStatus stamp_manifests(const StampOptions& options, const Output& output) {
    PlaceSet places;
    std::vector<OutputFile> outs;
    for (const std::string& name : options.files) {
        outs.emplace_back(name + ".ers", existing_of(options.force), nullptr);
        places.add_or_refuse(outs.back().path(), "records", "name each list once");
        outs.back().check(files_of(options.trust, files_of(options.authority, options.files)));
    }
    const Interruption interruption;
    // What is wrong with the options is told before the reading.
    make_sealer(options, options.request.hash.empty() ? "sha256" : options.request.hash);
    std::vector<ManifestTree> lists = read_lists(options, output, interruption.token());
    const HashAlgorithm& algorithm = lists.front().info().algorithm;
    if (!options.request.hash.empty() &&
        HashAlgorithm::by_name(options.request.hash) != algorithm) {
        throw usage_error("the lists are by " + algorithm.name() + ", not by --hash",
                          "leave out --hash");
    }
    const Sealer sealer = make_sealer(options, algorithm.name());
    EvidenceTree top(algorithm);
    for (ManifestTree& list : lists) {
        top.add(list.root());
    }
    const Stamp stamp = sealer.seal_digest(top.root(), interruption.token());
    Results results(options, output);
    for (std::size_t i = 0; i < lists.size(); ++i) {
        const HashPath above = top.path(lists[i].root().value());
        results.try_add(options.files[i], lists[i].info().lines, outs[i],
                        lists[i].record(stamp, above), stamp);
    }
    return results.finish();
}

// Proofs out of a list and its record, and the list of new hashes by which that was renewed, if it
// was.
class LineProver {
public:
    LineProver(const ProveOptions& options, const EvidenceRecord& record, bool show_progress,
               const std::stop_token& stop)
        : record_(record), show_progress_(show_progress) {
        ByteProgress progress(quote_foreign(options.manifest), show_progress);
        const auto show = [&](std::uint64_t done, std::uint64_t total) {
            progress.show(done, total);
        };
        if (options.rehashed.empty()) {
            tree_.emplace(options.manifest, show, stop);
        } else {
            renewal_.emplace(options.manifest, record, options.rehashed, show, stop);
        }
    }

    const chronoseal::ManifestInfo& info() const {
        return renewal_ ? renewal_->info() : tree_->info();
    }

    chronoseal::DataDigests digests_of(const std::string& file, const std::stop_token& stop) const {
        std::vector<HashAlgorithm> algorithms{info().algorithm};
        if (renewal_) {
            algorithms.push_back(renewal_->renewed_info().algorithm);
        }
        if (file == "-") { // which can be read once only
            return digests_of_input(algorithms, show_progress_, stop);
        }
        chronoseal::DataDigests digests;
        for (const HashAlgorithm& algorithm : algorithms) {
            digests.push_back(digest_of(file, algorithm, show_progress_, stop));
        }
        return digests;
    }

    EvidenceRecord prove(const chronoseal::DataDigests& digests) {
        return renewal_ ? renewal_->prove(digests) : tree_->prove(digests.front(), record_);
    }

private:
    const EvidenceRecord& record_;
    bool show_progress_;
    std::optional<ManifestTree> tree_;
    std::optional<chronoseal::ManifestRenewal> renewal_;
};

void check_usage(const ProveOptions& options) {
    if (options.files.size() > 1 && !options.out.empty()) {
        throw usage_error("--out goes with one file only", "leave it out: FILE.ers is written");
    }
    if (options.manifest == "-" || options.rehashed == "-") {
        throw usage_error("lists aren't read from standard input", "give them as files");
    }
    const auto inputs = std::ranges::count(options.files, "-") + (options.record == "-" ? 1 : 0);
    if (inputs > 1) {
        throw usage_error("standard input can be read once only", "give the others as files");
    }
    if (inputs == 1 && options.record != "-" && options.out.empty()) {
        throw usage_error("there is no name to write the record of standard input to",
                          "name it by --out");
    }
}

// One run of `prove`: the list is read once, and each file's record is written as it is made.
class ProveRun {
public:
    ProveRun(const ProveOptions& options, const Output& output)
        : options_(options), output_(output), results_(output),
          record_name_(options.record.empty() ? options.manifest + ".ers" : options.record) {
        PlaceSet places;
        for (const std::string& file : options.files) {
            outs_.emplace_back(options.out.empty() ? file + ".ers" : options.out,
                               existing_of(options.force),
                               options.files.size() > 1 ? nullptr : "--out");
            if (!outs_.back().is_standard_output()) {
                places.add_or_refuse(outs_.back().path(), "records", "name each file once");
            }
            outs_.back().check({file, options.manifest, record_name_,
                                options.rehashed.empty() ? record_name_ : options.rehashed});
        }
        refuse_json_beside(outs_.front(), output, "the record");
    }

    ExitStatus run() {
        const Interruption interruption;
        const std::stop_token stop = interruption.token();
        const EvidenceRecord record =
            EvidenceRecord::read(read_file(record_name_, kLargestMessage, stop));
        LineProver list(options_, record, !output_.quiet(), stop);
        std::size_t done = 0;
        for (; done < options_.files.size() && !stop.stop_requested(); ++done) {
            prove(options_.files[done], outs_[done], list, stop);
        }
        return finish(list.info().lines, options_.files.size() - done, stop.stop_requested());
    }

private:
    void prove(const std::string& file, const OutputFile& out, LineProver& list,
               const std::stop_token& stop) {
        Json json = {{"file", file}, {"ok", true}, {"out", out.path()}};
        try {
            const chronoseal::DataDigests digests = list.digests_of(file, stop);
            const EvidenceRecord proof = list.prove(digests);
            out.write(proof.der());
            json["digest"] = chronoseal::to_hex(digests.front().value());
            json["bytes"] = proof.der().size();
            if (!out.is_standard_output()) {
                output_.text(fmt::format("{}: a line of {}, stamped (not verified) {} -> {}\n",
                                         quote_foreign(file), quote_foreign(options_.manifest),
                                         chronoseal::utc_text(proof.info().stamps[0].stamp.time()),
                                         quote_foreign(out.path())));
            }
            ++proved_;
        } catch (const Error& error) {
            const Error told = about_file(file, "prove", error);
            output_.failure(told);
            status_ = worse(status_, status_of(error.category()));
            ++failed_;
            json["ok"] = false;
            json["out"] = nullptr;
            json["error"] = error_json(told);
        }
        results_.add(std::move(json));
    }

    ExitStatus finish(std::uint64_t lines, std::size_t left, bool interrupted) {
        if (interrupted) {
            status_ = worse(status_, ExitStatus::unreachable);
        }
        if (options_.files.size() > 1) {
            output_.text(fmt::format("{} proved, {} failed{}\n", proved_, failed_,
                                     interrupted ? fmt::format(", {} not begun: interrupted", left)
                                                 : std::string()));
        }
        Json members = {{"manifest", options_.manifest}, {"lines", lines}};
        if (output_.format() == Format::json) {
            members["files"] = results_.take();
        }
        members["summary"] = {
            {"proved", proved_}, {"failed", failed_}, {"left", left}, {"interrupted", interrupted}};
        output_.object(status_ == ExitStatus::good, members);
        return status_;
    }

    const ProveOptions& options_;
    const Output& output_;
    ResultList results_;
    std::string record_name_;
    std::vector<OutputFile> outs_;
    std::uint64_t proved_ = 0, failed_ = 0;
    ExitStatus status_ = ExitStatus::good;
};

} // namespace

ExitStatus run_stamp_together(const StampOptions& options, const Output& output) {
    check_usage(options);
    return options.together ? stamp_together(options, output) : stamp_manifests(options, output);
}

ExitStatus run_prove(const ProveOptions& options, const Output& output) {
    check_usage(options);
    return ProveRun(options, output).run();
}

} // namespace cli
