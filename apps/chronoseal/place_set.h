// Places where files are to be written, told apart however they are named: "a", "./a" and "b/../a"
// are one. A place that nothing is at yet counts like any other.
#pragma once

#include <string>
#include <unordered_set>

namespace cli {

class PlaceSet {
public:
    // False if the place is among them already. A file's second name by a hard or symbolic link
    // counts as the first: what is written by one is read by the other.
    bool add(const std::string& path);
    // Wrong usage where it is there already: "two stamps would be written to x".
    void add_or_refuse(const std::string& path, const char* results, const char* advice);

private:
    std::string folder_;     // the one looked at last, for most files lie in one
    std::string folder_key_; // its device and number
    std::unordered_set<std::string> keys_;
};

} // namespace cli
