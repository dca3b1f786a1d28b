// The page: what was stamped, when, by whom, the chain, every check with its evidence, and how to
// check it again with other tools.
#include "verdict_page.h"

#include <algorithm>
#include <cctype>

#include <fmt/format.h>

#include "short_name.h"
#include "stamp_text.h"

namespace cli {

namespace {

using chronoseal::Outcome;
using chronoseal::to_hex;
using chronoseal::utc_text;

constexpr char kStyle[] = R"(
body{font:15px/1.5 Georgia,'DejaVu Serif',serif;color:#1a1a1a;max-width:46em;margin:2.5em auto;padding:0 1.2em;overflow-wrap:anywhere}
h1{font-size:1.5em;margin:0 0 .3em}h2{font-size:1.1em;margin:2em 0 .5em;border-bottom:1px solid #bbb}
.verdict{font-size:1.2em;padding:.6em .9em;border-left:.5em solid}
.good{border-color:#1a7f37;background:#eef8f0}.bad{border-color:#b42318;background:#fdf0ee}
.open{border-color:#9a6700;background:#fdf7e7}
table{border-collapse:collapse;width:100%;table-layout:fixed}th,td{text-align:left;vertical-align:top;padding:.25em .8em .25em 0}
th{font-weight:normal;color:#555;white-space:nowrap;width:11em}
tr+tr td,tr+tr th{border-top:1px solid #eee}
.hex{font:12px/1.4 'DejaVu Sans Mono',monospace;overflow-wrap:anywhere}
.passed{color:#1a7f37}.failed{color:#b42318;font-weight:bold}.notdone{color:#777}
.chain{list-style:none;padding:0}.chain li{border:1px solid #999;border-radius:.4em;padding:.5em .8em;margin:0 0 1.9em;position:relative}
.chain li+li::before{content:"\2191  issued by";position:absolute;top:-1.75em;left:1em;color:#555;font-size:.85em}
.chain .anchor{border-width:2px}.small{font-size:.88em;color:#444}.whole{white-space:nowrap}
pre{font:12px/1.5 'DejaVu Sans Mono',monospace;background:#f5f5f5;padding:.7em;white-space:pre-wrap;overflow-wrap:anywhere}
@media print{@page{margin:18mm}body{margin:0;max-width:none;padding:0;font-size:11pt}.verdict,.chain li{print-color-adjust:exact}h2{break-after:avoid}tr,li{break-inside:avoid}}
)";

// Text that is safe for people's eyes already, made safe for a browser.
std::string html_of(std::string_view quoted) {
    std::string text;
    for (const char c : quoted) {
        switch (c) {
        case '&':
            text += "&amp;";
            break;
        case '<':
            text += "&lt;";
            break;
        case '>':
            text += "&gt;";
            break;
        case '"':
            text += "&quot;";
            break;
        case '\'':
            text += "&#39;";
            break;
        default:
            text += c;
        }
    }
    return text;
}

std::string escaped(std::string_view foreign) {
    return html_of(chronoseal::quote_foreign(foreign));
}

std::string row(std::string_view name, const std::string& html) {
    return fmt::format("<tr><th>{}</th><td>{}</td></tr>\n", name, html);
}

std::string hex(chronoseal::ByteView bytes) {
    return fmt::format("<span class=\"hex\">{}</span>", to_hex(bytes));
}

std::string both_times(chronoseal::Time time) {
    return fmt::format("{} <span class=\"small whole\">(local: {})</span>", utc_text(time),
                       chronoseal::local_text(time));
}

// "root untrusted" for "root_untrusted".
std::string spaced(std::string_view word) {
    std::string result(word);
    std::ranges::replace(result, '_', ' ');
    return result;
}

std::string sentence(const std::string& text) {
    std::string result = text.empty() ? "" : text + ".";
    if (!result.empty()) {
        result[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(result[0])));
    }
    return result;
}

std::string headline(const chronoseal::Verdict& verdict) {
    const chronoseal::Finding& deciding = verdict.deciding();
    const bool good = verdict.good();
    const char* style = good ? "good" : verdict.indeterminate() ? "open" : "bad";
    const char* word = good ? "Good" : verdict.indeterminate() ? "Can't be told yet" : "Not good";
    return fmt::format("<p class=\"verdict {}\"><strong>{}.</strong> {}</p>\n", style, word,
                       good ? "Every check that was required has passed."
                            : html_of(sentence(deciding.text) + " " + sentence(deciding.advice)));
}

// Until when a good stamp can be relied upon, which whoever keeps the page has to know.
std::string outlook_rows(const chronoseal::Verdict& verdict) {
    const chronoseal::Outlook& outlook = verdict.outlook;
    std::string rows;
    if (verdict.good() && outlook.renew_before) {
        rows += row("Renew before",
                    both_times(*outlook.renew_before) +
                        (outlook.renew_reason.empty() ? "" : ": " + html_of(outlook.renew_reason)));
    }
    if (verdict.good() && outlook.evidence_stored) {
        rows += row("Its evidence", outlook.evidence_until
                                        ? "speaks until " + both_times(*outlook.evidence_until)
                                        : std::string("speaks for good"));
    }
    return rows;
}

std::string stamped_part(const std::string& file, chronoseal::ByteView sha256,
                         const std::string& subject, const chronoseal::Verdict& verdict) {
    std::string rows = row("Stamp", escaped(file));
    rows += row("SHA-256 of that file", hex(sha256));
    rows += row("Compared with", subject.empty() || !verdict.compared()
                                     ? std::string("nothing: signature and chain only")
                                     : escaped(subject));
    if (const auto& token = verdict.stamp.token) {
        rows += row("Time", both_times(token->time));
        if (token->accuracy) {
            rows += row("Accuracy", accuracy_text(*token->accuracy));
        }
        rows += row("By", escaped(verdict.signer ? verdict.signer->subject : token->authority));
        rows += row("Hash", fmt::format("{} {}", escaped(token->imprint_algorithm.name),
                                        hex(token->imprint)));
        rows += row("Serial number", hex(token->serial_number));
        rows += row("Policy", escaped(token->policy));
    }
    rows += row("Judged as of", both_times(verdict.as_of));
    rows += outlook_rows(verdict);
    return "<h2>What was stamped</h2>\n<table>\n" + rows + "</table>\n";
}

std::string checks_part(const chronoseal::Verdict& verdict) {
    std::string rows;
    for (const chronoseal::Finding& finding : verdict.findings) {
        const bool passed = finding.outcome == Outcome::passed;
        const bool failed = finding.outcome == Outcome::failed;
        std::string html = fmt::format("<span class=\"{}\">{}</span>",
                                       passed   ? "passed"
                                       : failed ? "failed"
                                                : "notdone",
                                       passed   ? "passed"
                                       : failed ? "failed"
                                                : "not done");
        if (!finding.text.empty()) {
            html += ": " + html_of(finding.text);
        }
        for (const chronoseal::Remark& remark : finding.remarks) {
            html += "<br><span class=\"small\">Remark: " + html_of(remark.text) + "</span>";
        }
        rows += row(spaced(chronoseal::check_name(finding.check)), html);
    }
    return "<h2>The checks</h2>\n<table>\n" + rows + "</table>\n";
}

std::string evidence_line(const chronoseal::Evidence& evidence) {
    std::string html = fmt::format(
        "<br>{} of {}{}, SHA-256 {}",
        evidence.kind == chronoseal::EvidenceKind::ocsp_answer ? "OCSP answer" : "Revocation list",
        utc_text(evidence.this_update),
        evidence.next_update ? ", next " + utc_text(*evidence.next_update) : "",
        hex(evidence.sha256));
    if (evidence.revoked) {
        html += fmt::format("<br>revoked since {} {}", utc_text(*evidence.revoked),
                            escaped(evidence.reason));
    }
    if (!evidence.url.empty()) {
        html += "<br>" + html_of(chronoseal::quote_address(evidence.url));
    }
    return html;
}

std::string chain_part(const chronoseal::Verdict& verdict) {
    std::string items;
    for (const chronoseal::ChainLink& link : verdict.chain) {
        const chronoseal::CertificateInfo& certificate = link.certificate;
        constexpr const char* kStates[] = {"not checked", "good", "revoked", "unknown"};
        std::string html = fmt::format(
            "<strong>{}</strong>{}<div class=\"small\">{}<br>valid {} to {}<br>{}, {} bits, signed "
            "by {}<br>SHA-256 {}",
            escaped(certificate.subject), link.anchor ? " (trusted root)" : "",
            "serial " + hex(certificate.serial_number), utc_text(certificate.not_before),
            utc_text(certificate.not_after), escaped(certificate.key_algorithm.name),
            certificate.key_bits, escaped(certificate.signature_algorithm.name),
            hex(certificate.sha256));
        for (const std::string& fault : link.faults) {
            html += "<br><span class=\"failed\">" + escaped(spaced(fault)) + "</span>";
        }
        if (!link.anchor) {
            html += fmt::format("<br>revocation: {}",
                                kStates[static_cast<std::size_t>(link.revocation)]);
        }
        for (const chronoseal::Evidence& evidence : link.evidence) {
            html += evidence_line(evidence);
        }
        items += fmt::format("<li{}>{}</div></li>\n", link.anchor ? " class=\"anchor\"" : "", html);
    }
    return items.empty()
               ? ""
               : "<h2>The chain of certificates</h2>\n<ul class=\"chain\">\n" + items + "</ul>\n";
}

constexpr char kAgain[] = R"(<h2>To check it again with other tools</h2>
<p>The stamp is a file in the format of RFC 3161. With OpenSSL, the file that was stamped, the stamp, and the
trusted root and the other certificates of the chain above as PEM files:</p>
<pre>openssl ts -verify -data FILE -in STAMP -CAfile ROOT.pem -untrusted CHAIN.pem -attime SECONDS
openssl ts -reply -in STAMP -text</pre>
<p>Both want <code>-token_in</code> besides where the stamp is a bare token. SECONDS is the time of the stamp as seconds since 1970 (<code>date -u -d TIME +%s</code>), which is what an old
stamp is judged by. The SHA-256 values above tell whether the certificates and lists at hand are the same ones.</p>
)";

} // namespace

std::string verdict_page(const std::string& file, chronoseal::ByteView sha256,
                         const std::string& subject, const chronoseal::Verdict& verdict) {
    const std::string title = "Verification of the time-stamp " + escaped(file);
    return fmt::format("<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n"
                       "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
                       "style-src 'unsafe-inline'\">\n"
                       "<title>{0}</title>\n<style>{1}</style></head>\n<body>\n<h1>{0}</h1>\n"
                       "{2}{3}{4}{5}{6}<p class=\"small\">Made by chronoseal {7}.</p>\n"
                       "</body></html>\n",
                       title, kStyle, headline(verdict),
                       stamped_part(file, sha256, subject, verdict), checks_part(verdict),
                       chain_part(verdict), kAgain, chronoseal::version());
}

} // namespace cli
