// Where a command's results go: standard output, as text or as one JSON object; failures as one
// line on standard error, and with --json in the object too (docs/json.md).
#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "failure.h"

namespace cli {

class Output {
public:
    Output(std::string command, bool json) : command_(std::move(command)), json_(json) {}

    bool json() const { return json_; }

    // Text for people; dropped with --json.
    void text(const std::string& text) const;
    // The one object of this run; "command" and "ok" are put in front.
    void object(bool ok, const nlohmann::ordered_json& members) const;
    // The line on standard error. With --json the caller puts error_json() into its object.
    void line(const Failure& failure) const;

private:
    std::string command_;
    bool json_;
};

nlohmann::ordered_json error_json(const Failure& failure);

} // namespace cli
