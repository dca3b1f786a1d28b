// Where a command's results go: standard output, as text, as one JSON object, or as one object a
// line while the work goes on; failures as one line on standard error, and with JSON in the object
// too (docs/json.md). Foreign text that is handed over has been quoted by the caller. Calls may
// come from several threads, one at a time each.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include <chronoseal/chronoseal.hpp>

namespace cli {

enum class Format { text, json, json_lines };
enum class Detail { quiet, usual, verbose };

class Output {
public:
    Output(std::string command, Format format, Detail detail);

    Format format() const { return format_; }
    bool json() const { return format_ != Format::text; }
    bool verbose() const { return detail_ == Detail::verbose; }
    // Progress and notes are for people who haven't asked for silence.
    bool quiet() const { return detail_ == Detail::quiet; }

    // Text for people; dropped with JSON and with -q.
    void text(const std::string& text) const;
    // Beside the results, on standard error: what was left out, what was taken for granted.
    void note(const std::string& text) const;
    // One result of many: printed at once as a line of JSON, kept by nobody.
    void item(const nlohmann::ordered_json& members) const;
    // The object of this run; "command" and "ok" are put in front.
    void object(bool ok, const nlohmann::ordered_json& members) const;
    // The line on standard error. With JSON the caller puts error_json() into its object.
    void failure(const chronoseal::Error& error) const;

    // "good" and "bad" in colour on a terminal, unless NO_COLOR is set.
    std::string good(const std::string& word) const;
    std::string bad(const std::string& word) const;

private:
    std::string command_;
    Format format_;
    Detail detail_;
    bool colour_;
};

// The objects of many results, told as they come: each a line, or all of them in the one object of
// the run; where nobody asked for JSON nothing is kept of them.
class ResultList {
public:
    explicit ResultList(const Output& output) : output_(output) {}

    void add(nlohmann::ordered_json result);
    // Those of one object, as an array; empty with lines.
    nlohmann::ordered_json take() { return std::move(results_); }

private:
    const Output& output_;
    nlohmann::ordered_json results_ = nlohmann::ordered_json::array();
};

// Standard output leads nowhere: what was to be told wasn't.
chronoseal::Error unwritable_output();

// Message, code, number and advice of a failure.
nlohmann::ordered_json error_json(const chronoseal::Error& error);

} // namespace cli
