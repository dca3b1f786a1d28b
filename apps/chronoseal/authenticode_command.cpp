#include "authenticode_command.h"

#include <memory>

#include <fmt/format.h>

#include "basalt10/blob.h"
#include "byte_files.h"
#include "client/authenticode.h"
#include "narrow_text.h"
#include "sup/last_error.h"

namespace cli {

namespace {

struct FreeStamp {
    void operator()(CRYPT_DATA_BLOB* stamp) const noexcept { FreeMSStamp(stamp); }
};

constexpr DWORD kForbiddenByPolicy = 1260;

Failure failure_of_last_error(const std::string& doing, DWORD error) {
    if (error == kForbiddenByPolicy) {
        return {ExitStatus::refused,
                fmt::format("can't {}: the policy doesn't allow this server", doing),
                "see AllowedMSTSPs in `chronoseal policy show`", error};
    }
    if (error == 0) {
        return {ExitStatus::refused,
                fmt::format("can't {}: the answer is empty or no Base64", doing),
                "check the address"};
    }
    constexpr DWORD kWin32 = 0x80070000;
    return failure_of_code(doing, error < 0x10000 ? kWin32 | error : error);
}

} // namespace

ExitStatus run_authenticode(const AuthenticodeOptions& options, const Output& output) {
    if (output.json() && options.out == "-") {
        throw Failure(ExitStatus::usage, "--json and the stamp can't both go to standard output",
                      "name a file by --out");
    }
    const std::string doing = "stamp " + options.file;
    Bytes content = read_file(options.file);
    const CRYPT_DATA_BLOB blob{static_cast<DWORD>(content.size()), content.data()};
    const std::wstring url = wide(options.url);
    SetLastError(0);
    const std::unique_ptr<CRYPT_DATA_BLOB, FreeStamp> stamp(
        GetMSStamp(&blob, options.url.empty() ? nullptr : url.c_str(), nullptr));
    if (!stamp) {
        throw failure_of_last_error(doing, GetLastError());
    }
    write_file(options.out, stamp->pbData, stamp->cbData);
    if (options.out != "-") {
        output.text(fmt::format("{}: answer of {} bytes -> {} (not verified)\n", options.file,
                                stamp->cbData, options.out));
    }
    output.object(true, {{"file", options.file}, {"out", options.out}, {"bytes", stamp->cbData}});
    return ExitStatus::good;
}

} // namespace cli
