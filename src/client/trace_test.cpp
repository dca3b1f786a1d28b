#include <chronoseal/client/trace.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

#include <chronoseal/client/testing/suite.h>

namespace Halcyon::PKI {
namespace {

using namespace TSP::Client::testing;

// What the client writes while another run of this program does one exchange.
std::string trace_of(const std::string& test, const std::string& levels) {
    const auto path = Configuration::instance().folder() + "/trace";
    std::remove(path.c_str());
    const auto command = "BASALT_TRACE=tsp=" + levels + " BASALT_TRACE_FILE='" + path + "' /proc/" +
                         std::to_string(::getpid()) + "/exe --gtest_filter=" + test +
                         " > /dev/null";
    EXPECT_EQ(std::system(command.c_str()), 0);
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Each line of the table stands behind the one before, under its function's name.
void expect_lines(const std::string& test, const std::vector<std::string>& lines) {
    const auto text = trace_of(test, "8");
    std::size_t place = 0;
    for (const auto& line : lines) {
        const auto told = line.substr(line.find(": ") + 2);
        const auto found = text.find(told, place);
        ASSERT_NE(found, std::string::npos) << line;
        const auto start = text.rfind('\n', found) + 1;
        EXPECT_NE(text.substr(start, found - start).find(line.substr(0, line.find(": "))),
                  std::string::npos)
            << line;
        place = found + told.size();
    }
}

TEST(Trace, TellsTheStepsInTheirOrder) {
    const std::string policy = "policy \"\\config\\cades\\tsppolicy\\";
    expect_lines(
        "Exchange.VerificationSeesAnUntrustedRoot",
        {"Load: Loading " + policy + "LegacyPolicyReading\" ...\n",
         "Load: Loading default value of " + policy + "StampAccuracy\" ...\n",
         "Load: Loading policy \"DefaultHashAlg\" succeeded (2.16.840.1.101.3.4.2.1).\n",
         "Load: Loading " + policy + "DefaultTSPURL\" ... param not found\n",
         "CheckPolicies: Checking policies... OK.\n", "MakeRequest: Making request...\n",
         "Send: Sending request to \"http://127.0.0.1:", "Import: Importing time-stamp... OK\n",
         "VerifyCertificate: CertVerifyCertificateChainPolicy returned status.dwError = "
         "0x800B01"});
    expect_lines("PlatformFaults.ChainPolicyThatCannotRunIsThrown",
                 {"Import: Trying to decode as time-stamp token...\n",
                  "VerifyCertificate: CertVerifyCertificateChainPolicy failed: 0x80092006\n"});
    expect_lines("Authenticode.TellsFailuresByTheLastError", {"GetMSStamp: HTTP STATUS: 500\n"});
    expect_lines("Exchange.HttpFailureLeavesTheOldStamp", {"Send: HTTP STATUS: 404\n"});
    expect_lines("SigningCertificateAttributes.*",
                 {"CheckSignerCertIdEx: signingCert attribute not found\n",
                  "GetSignerCertIdEx: (other)SigningCert attribute not found\n",
                  "CheckSignerCertIdEx: signinging-certificate attribute doesn't match signer's "
                  "certificate\n"});
}

TEST(Trace, IsSilentBelowItsLevel) {
    EXPECT_EQ(trace_of("Exchange.VerificationSeesAnUntrustedRoot", "4"), "");
}

} // namespace
} // namespace Halcyon::PKI
