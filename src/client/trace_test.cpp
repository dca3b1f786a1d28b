#include "client/trace.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "client/testing/configuration.h"

namespace Halcyon::PKI {
namespace {

// What the client writes while another run of this program does one exchange.
std::string trace_of(const std::string& test, const std::string& levels) {
    const auto path = TSP::Client::testing::Configuration::instance().folder() + "/trace";
    std::remove(path.c_str());
    const auto command = "BASALT_TRACE=tsp=" + levels + " BASALT_TRACE_FILE='" + path + "' /proc/" +
                         std::to_string(::getpid()) + "/exe --gtest_filter=" + test +
                         " > /dev/null";
    EXPECT_EQ(std::system(command.c_str()), 0);
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(Trace, TellsTheStepsOfAnExchangeInTheirOrder) {
    const auto text = trace_of("Exchange.VerificationSeesAnUntrustedRoot", "8");
    std::size_t place = 0;
    for (const char* const line :
         {"Load: Loading policy \"\\config\\cades\\tsppolicy\\LegacyPolicyReading\" ...",
          "Load: Loading default value of policy \"\\config\\cades\\tsppolicy\\StampAccuracy\" ...",
          "Load: Loading policy \"DefaultHashAlg\" succeeded "
          "(2.16.840.1.101.3.4.2.1).",
          "Load: Loading policy \"\\config\\cades\\tsppolicy\\DefaultTSPURL\" ... param not found",
          "Load: Loading multistring policy \"\\config\\cades\\tsppolicy\\AllowedTSPs\" ... param "
          "not found",
          "CheckPolicies: Checking policies...", "CheckPolicies: Checking policies... OK.",
          "MakeRequest: Making request...", "MakeRequest: Initializing request...",
          "MakeRequest: Encoding request...", "MakeRequest: Making request... OK.",
          "Send: Sending request to \"http://127.0.0.1:", "Import: Importing time-stamp...",
          "Import: Checking status of time-stamp response...",
          "Import: Parsing and checking time-stamp token fields...",
          "Import: Importing time-stamp... OK",
          "VerifyCertificate: CertVerifyCertificateChainPolicy returned status.dwError = "
          "0x800B01"}) {
        auto text_only = std::string(line);
        const auto message = text_only.substr(text_only.find(": ") + 2);
        const auto found = text.find(message, place);
        ASSERT_NE(found, std::string::npos) << line;
        const auto start = text.rfind('\n', found) + 1;
        EXPECT_NE(text.substr(start, found - start).find(text_only.substr(0, text_only.find(':'))),
                  std::string::npos)
            << line;
        place = found + message.size();
    }
}

TEST(Trace, IsSilentBelowItsLevel) {
    EXPECT_EQ(trace_of("Exchange.VerificationSeesAnUntrustedRoot", "4"), "");
}

} // namespace
} // namespace Halcyon::PKI
