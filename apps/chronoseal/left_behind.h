// Records that rest on the same time-stamps as those that are renewed, lie beside them, and weren't
// named: one more stamp would have to be asked for, for them alone. A look at what is there, within
// bounds; what can't be read is passed over.
#pragma once

#include <array>
#include <set>
#include <string>
#include <vector>

#include <chronoseal/evidence.hpp>

namespace cli {

class LeftBehind {
public:
    // A record that is renewed, by the name of its file.
    void add(const std::string& file, const chronoseal::EvidenceRecord& record);
    // Looks into the folders; to be called before anything is written.
    void look();

    const std::vector<std::string>& files() const { return files_; }
    // One line; empty if there is none.
    std::string text() const;

private:
    std::vector<std::string> given_;
    // What a stamp stays the same by, whatever `extend` has put into its token since: its number,
    // what it is over, and its signature.
    using StampId = std::array<chronoseal::Bytes, 3>;
    static StampId id_of(const chronoseal::ArchiveStampInfo& info);

    std::set<StampId> stamps_;
    std::vector<std::string> files_;
    bool bounded_ = false; // there were more records than are looked at
};

} // namespace cli
