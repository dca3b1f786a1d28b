// What a stamp holds and what a verdict found, as lines for people. Foreign text is quoted.
#pragma once

#include <chrono>
#include <string>

#include <chronoseal/chronoseal.hpp>

namespace cli {

class Output;

// "1 s", "500 ms".
std::string accuracy_text(std::chrono::microseconds accuracy);

// A signed message, of a program or a script too.
bool is_signature(const chronoseal::Inspection& found);

// The remark on what stands behind a stamp or a signed message in its file; empty for nothing.
std::string behind_text(const chronoseal::Inspection& found);

// One line a field, for `info`.
std::string info_text(const chronoseal::StampInfo& info);

// Who stamped: the common name of the signer's certificate, or the name in the token, in quotes.
std::string authority_text(const chronoseal::Verdict& verdict);
std::string authority_text(const chronoseal::StampInfo& info);

// What a stamp that has come is told by: "a.pdf: stamped and verified ... by "TSA", http://... ->
// a.pdf.tsr" for the label "a.pdf:", and its remarks. The label has been quoted.
std::string stamped_text(const std::string& label, const chronoseal::Stamp& stamp, bool verified,
                         const std::string& out);

// The verdict check by check, with the chain and the evidence, for `-v`.
std::string verdict_text(const chronoseal::Verdict& verdict, const Output& output);

// Until when the evidence of revocation under a verdict speaks, to stand behind a sentence: "; its
// evidence speaks until ...".
std::string term_text(const chronoseal::Outlook& outlook);
// The same, and before when the stamp has to be renewed: "; renew before 2029-01-01". Nothing of a
// day that has passed, which a remark tells of.
std::string outlook_text(const chronoseal::Verdict& verdict);

// Remarks of all findings, a line each, indented; empty if there are none.
std::string remarks_text(const chronoseal::Verdict& verdict);
// Under the label where no line of a good verdict stands above them.
std::string labelled_remarks(const std::string& label, const chronoseal::Verdict& verdict);
std::string remarks_text(const std::vector<chronoseal::Remark>& remarks);

} // namespace cli
