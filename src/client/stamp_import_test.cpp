// Imports of hostile answers: what they may cost, and what is refused before it is read.
#include <fstream>
#include <functional>

#include <chronoseal/client/testing/suite.h>

namespace Halcyon::PKI::TSP::Client {
namespace {

using namespace testing;

constexpr std::uint32_t kRefused = 0x80093101;

std::string named(const std::string& rdns) {
    return token_of({.tsa = element(0xA4, sequence(rdns))});
}

std::string extended(const std::string& extensions) {
    return token_of({.extensions = extensions});
}

const std::string& certificate() {
    static const std::string der = Authority().signer_der();
    return der;
}

std::string long_term(std::size_t values, std::size_t certificates) {
    const auto value = sequence(repeated(certificates, certificate()));
    return Parts{.unsigned_attributes =
                     attribute("1.2.840.113549.1.9.16.2.23", repeated(values, value))}
        .token();
}

// What there may be at most, and a MiB of it, or what is named as too much.
struct Shape {
    const char* name;
    std::size_t bound;
    std::function<std::string(std::size_t)> make;
    std::size_t many;
};

const Shape kShapes[] = {
    {"texts", 256, [](std::size_t n) { return response(2, "", repeated(n, element(0x0C, ""))); },
     300000},
    {"RDNs", 256,
     [](std::size_t n) {
         const auto part = sequence(oid("2.5.4.3") + element(0x0C, "x"));
         return named(n > 1000 ? repeated(n, element(0x31, "")) : repeated(n, element(0x31, part)));
     },
     100000},
    {"attributes of an RDN", 256,
     [](std::size_t n) {
         return named(element(0x31, repeated(n, sequence(oid("2.5.4.3") + element(0x0C, "x")))));
     },
     90000},
    {"extensions", 256,
     [](std::size_t n) { return extended(repeated(n, extension("1.2.3", false))); }, 100000},
    {"signed attributes", 256,
     [](std::size_t n) {
         return Parts{.signed_attributes = repeated(n, attribute("1.2.3", element(0x05, "")))}
             .token();
     },
     100000},
    {"unsigned attributes", 256,
     [](std::size_t n) {
         return Parts{.unsigned_attributes = repeated(n, attribute("1.2.3", element(0x05, "")))}
             .token();
     },
     100000},
    {"values of an attribute", 64,
     [](std::size_t n) {
         return Parts{.signed_attributes = attribute("1.2.3", repeated(n, element(0x05, "")))}
             .token();
     },
     100000},
    {"certificates", 512,
     [](std::size_t n) {
         return Parts{.certificates =
                          repeated(n, n > 1000 ? sequence(std::string(69, '\0')) : certificate())}
             .token();
     },
     40000},
    {"certificate values", 512, [](std::size_t n) { return long_term(1, n); }, 3000},
    {"lists", 512, [](std::size_t n) { return Parts{.lists = repeated(n, sequence(""))}.token(); },
     500000},
    {"signers", 64, [](std::size_t n) { return Parts{.signers = n}.token(); }, 15000},
};

TEST(StampImport, TakesAsManyOfEachAsTheBoundAndNoMore) {
    for (const auto& shape : kShapes) {
        EXPECT_EQ(imported(shape.make(shape.bound)), 0u) << shape.name;
        EXPECT_EQ(imported(shape.make(shape.bound + 1)), kRefused) << shape.name;
    }
    const auto part = sequence(oid("2.5.4.3") + element(0x0C, "x"));
    EXPECT_EQ(imported(named(repeated(2, element(0x31, repeated(128, part))))), 0u);
    EXPECT_EQ(imported(named(repeated(2, element(0x31, repeated(129, part))))), kRefused);
    EXPECT_EQ(imported(long_term(2, 256)), 0u);
    EXPECT_EQ(imported(long_term(2, 257)), kRefused) << "they count together";
    for (const auto* type : {"12", "19", "47"}) {
        const auto names = [&](std::size_t count) {
            return Parts{.signed_attributes =
                             attribute("1.2.840.113549.1.9.16.2." + std::string(type),
                                       sequence(repeated(count, element(0x05, ""))))}
                .token();
        };
        EXPECT_EQ(imported(names(4095)), 0u);
        EXPECT_EQ(imported(names(4096)), kRefused) << type;
    }
}

#ifndef __SANITIZE_ADDRESS__
long status_field(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == name) {
            long kilobytes = 0;
            status >> kilobytes;
            return kilobytes;
        }
    }
    return 0;
}

// The most memory, in MiB, that the process had beyond what it has now.
long peak_of(const std::string& bytes) {
    std::ofstream("/proc/self/clear_refs") << "5"; // starts the peak anew
    const long before = status_field("VmRSS:");
    imported(bytes);
    return (status_field("VmHWM:") - before) / 1024;
}

TEST(StampImport, CostsLittleMemoryWhateverTheAnswerHolds) {
    imported(Authority().token());
    for (const auto& shape : kShapes) {
        EXPECT_LT(peak_of(shape.make(shape.many)), 64) << shape.name;
    }
    constexpr std::size_t kMega = 1 << 20;
    const std::string text(kMega, 'x');
    const auto deep = repeated(kMega / 2, std::string("\x30\x80", 2));
    const std::pair<const char*, std::string> long_ones[] = {
        {"text", response(2, "", element(0x0C, text))},
        {"name", named(element(0x31, sequence(oid("2.5.4.3") + element(0x0C, text))))},
        {"serial number", token_of({.serial = text})},
        {"hash", token_of({.digest = text})},
        {"levels", deep},
        {"pieces", Parts{.info = repeated(kMega / 2, element(0x04, ""))}.token()},
        {"noise", text}};
    for (const auto& [name, bytes] : long_ones) {
        EXPECT_LT(peak_of(bytes), 64) << name;
    }
}
#endif

TEST(StampImport, TakesTheTimesOfTheStandardAlone) {
    const auto code = [](const std::string& time) { return imported(token_of({.genTime = time})); };
    for (const auto* good : {"20240601120000Z", "20240601120000.1Z", "20240601120000.123456789Z"}) {
        EXPECT_EQ(code(good), 0u) << good;
    }
    for (const std::string bad :
         {"20261101120000+0300", "20261101120000", "20261101120000ZZ", "202611011200Z",
          "20261101120000.Z", "20261101120000,5Z", "20261101120000.5", "2026110112000aZ",
          "20261101120000.5+0300", "", "Z"}) {
        EXPECT_EQ(code(bad), 0x8007076Du) << bad;
    }
    EXPECT_EQ(code(std::string("20261101120000Z\0Z", 17)), 0x8007076Du);
    EXPECT_EQ(code(std::string("20261101120000\0Z", 16)), 0x8007076Du);
    EXPECT_EQ(imported(response(0, token_of({.genTime = "20261101120000"}))), kRefused);
}

// An arc of 2^32 and more would lose its high bits, one without its end would be taken as it is:
// both would then be read, compared and shown as another identifier.
TEST(StampImport, RefusesIdentifiersThatWouldBeReadAsOthers) {
    const auto der = [](const std::string& contents) { return element(0x06, contents); };
    const auto wide = std::string("\x2A\x90\x80\x80\x80\x03", 6); // 1.2.(2^32 + 3)
    const auto widest = std::string("\x2A\x8F\xFF\xFF\xFF\x7F", 6);
    const auto cut = std::string("\x2A\x83", 2);
    const auto replaced = [](std::string bytes, const std::string& from, const std::string& to) {
        return bytes.replace(bytes.find(from), from.size(), to);
    };
    const auto with = [&](const std::string& id) {
        const auto hash = sequence(sequence(id) + element(0x04, "hash"));
        std::vector<std::string> tokens;
        const auto info = TstInfo().encode().substr(2);
        tokens.push_back(Parts{.info = sequence(replaced(info, oid("1.2.3.4"), id))}.token());
        tokens.push_back(named(element(0x31, sequence(id + element(0x0C, "x")))));
        tokens.push_back(extended(sequence(id + element(0x04, ""))));
        tokens.push_back(
            Parts{.signed_attributes = sequence(id + element(0x31, element(0x05, "")))}.token());
        tokens.push_back(Parts{.signed_attributes = attribute("1.2.840.113549.1.9.3", id)}.token());
        for (const auto& [type, certificate] :
             {std::pair{"12", hash}, std::pair{"19", sequence(hash)}, std::pair{"47", hash}}) {
            tokens.push_back(
                Parts{.signed_attributes = attribute("1.2.840.113549.1.9.16.2." + std::string(type),
                                                     sequence(sequence(certificate)))}
                    .token());
        }
        return tokens;
    };
    for (const auto& token : with(der(widest))) {
        EXPECT_EQ(imported(token), 0u);
    }
    for (const auto& bad : {der(wide), der(cut)}) {
        int place = 0;
        for (const auto& token : with(bad)) {
            EXPECT_EQ(imported(token), kRefused) << place;
            ++place;
        }
    }
    EXPECT_EQ(imported(token_of({.tsa = element(0x88, wide)})), kRefused);
    const auto widened = [&](const std::string& type) { // 2^32 more in the last arc
        const auto arcs = oid(type).substr(2);
        return der(arcs.substr(0, arcs.size() - 1) + "\x90\x80\x80\x80" + arcs.back());
    };
    EXPECT_EQ(imported(Parts{.type = widened("1.2.840.113549.1.7.2")}.token()), kRefused);
    EXPECT_EQ(imported(Parts{.content_type = widened(kTstInfoOid)}.token()), kRefused);
}

} // namespace
} // namespace Halcyon::PKI::TSP::Client
