// The immutable part of a CRL: its bytes and its fields.
#pragma once

#include <basalt/certificate/signed_record.h>
#include <basalt/crl.h>

#include <vector>

namespace basalt {

class CrlBody {
public:
    explicit CrlBody(Bytes encoded);

    Bytes encoded() const { return storage_.encoded(); }
    CRL_INFO& info() const { return info_; }

private:
    void read_tbs(Bytes tbs);
    void read_entries(Bytes list);

    FieldStorage storage_;
    std::vector<CRL_ENTRY> entries_;
    mutable CRL_INFO info_{};
};

} // namespace basalt
