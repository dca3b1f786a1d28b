// A call of each class that the installed headers declare, and of the functions that stand alone,
// so that the linker tells what the library doesn't export. It is linked and never run.
#include <chronoseal/asn1/algorithm_identifier_ex.h>
#include <chronoseal/asn1rt/runtime.h>
#include <chronoseal/atl/find_alg_id.h>
#include <chronoseal/base/blob.h>
#include <chronoseal/base/date_text.h>
#include <chronoseal/base/heap.h>
#include <chronoseal/chronoseal.hpp>
#include <chronoseal/client/authenticode.h>
#include <chronoseal/client/request.h>
#include <chronoseal/client/request_policy.h>
#include <chronoseal/client/stamp.h>

namespace {

template <class T>
T& one() {
    static T* value = nullptr;
    return *value;
}

struct OwnMemory : ATL::IAtlMemMgr {
    void* Allocate(unsigned long) override { return nullptr; }
    void Free(void*) override {}
    void* Reallocate(void*, unsigned long) override { return nullptr; }
    unsigned long GetSize(void*) override { return 0; }
};

struct OwnBuffer : ASN1BERMessageBuffer {
    OwnBuffer() : ASN1BERMessageBuffer(BERDecode) {}
    unsigned char* getMsgCopy() override { return nullptr; }
    const unsigned char* getMsgPtr() override { return nullptr; }
    void init() override {}
    bool isA(Type) override { return false; }
};

void run_time() {
    rtInitContext(&one<ASN1CTXT>(), nullptr);
    rtSListInitEx(nullptr, &one<rtSList>());
    rtErrReset(&one<ASN1ErrorRecord>());
    static_cast<void>(one<ASN1OBJID>() == ASN1TObjId(one<ASN1OBJID>()));
    ASN1TObjId64 wide(one<ASN1OID64>());
    const ASN1CtxtPtr context(new ASN1Context);
    OwnBuffer own;
    ASN1MessageBuffer& buffer = own;
    ASN1MessageBufferIF& any = buffer;
    ASN1CType(any).Encode();
    ASN1BERDecodeBuffer().init();
    ASN1BEREncodeBuffer().init();
    ASN1CBitStr(any).set(1);
    ASN1CSeqOfList list(any);
    ASN1CSeqOfListIterator* const iterator = list.iterator();
    iterator->next();
    const char* text = nullptr;
    ASN1CGeneralizedTime generalized(text, 1);
    ASN1CUTCTime utc(text, 1);
    ASN1CTime& time = utc;
    time.equals(generalized);
    throw ASN1RTLException(0);
}

struct Types : ATL2::CCryptProviderTypesEnumT<char> {
    bool OnType(unsigned, const char*) override { return false; }
};
struct Providers : ATL2::CCryptProvidersEnumT<char> {
    bool OnProv(const char*, unsigned) override { return false; }
};

void values() {
    Halcyon::CBlob blob(1ul);
    one<Halcyon::CBlobList>().push_back(blob);
    blob.writeToHexString(0);
    Halcyon::CStringProxy narrow("");
    Halcyon::CWStringProxy wide(L"");
    const Halcyon::CDateTime date = Halcyon::DateAddA("d", 1, Halcyon::CDateTime::Now());
    static_cast<void>(date + Halcyon::CDateTimeSpan(1, 0));
    Halcyon::toXsdDateTimeString(date);
    Halcyon::ASN1::CAlgorithmIdentifier("1.2").encode();
    one<Halcyon::ASN1::CAlgorithmIdentifierEx>().put_algorithm("1.2");
    OwnMemory memory;
    ATL::CCRTHeap().Allocate(1);
    ATL2::CTempBufferEx<char, 1>(&memory).Reallocate(2);
    ATL::CCryptProv(0).attach(0);
    Types().Enumerate();
    Providers().Enumerate();
    Halcyon::CFindAlgIdIn(1, 2).TryNextProv(1, "");
    Halcyon::CFindAlgIdInDefaultProviders(1, 2).OnType(1, "");
    Halcyon::CFindAlgIdInProviders(1, 2).OnProv("", 1);
    throw ATL::CAtlException(Halcyon::result_from_last_error());
}

void client() {
    using namespace Halcyon::PKI;
    wchar_t* text = nullptr;
    one<CGPBool>().Load(text, text, L"", true);
    one<CGPLong>().Load(text, text, L"", 1L);
    one<CGPString>().Load(text, text, L"");
    one<CGPStrings>().Find(L"");
    const TSP::Client::CRequestPolicy policy;
    const TSP::Client::CStamp stamp;
    TSP::Client::CRequest().Send(true);
    FreeMSStamp(GetMSStamp(nullptr, L"", nullptr));
}

void front_door() {
    using namespace chronoseal;
    const auto hash = HashAlgorithm::by_name("SHA-256");
    const Digest digest = Hasher(hash).finish();
    const Stamp stamp = Sealer().seal_digest(digest);
    const Verdict verdict = Verifier().verify(stamp, Expected::of_request({}));
    static_cast<void>(verdict.good());
    Verifier().for_one_file();
    inspect({});
    policy();
    extend(stamp);
    CmsSignature::read({}).signers();
    throw Error(verdict.error());
}

void evidence() {
    using namespace chronoseal;
    const auto hash = HashAlgorithm::by_name("SHA-256");
    const Stamp stamp = Stamp::read({});
    EvidenceTree tree(hash);
    const EvidenceRecord record = tree.record(tree.root(), stamp);
    ManifestReader({}).feed({});
    ManifestTree("").prove(tree.root(), record);
    StampRenewal(hash).add(record);
    HashRenewal(hash).add(record, {});
    ManifestRenewal("", record, "").digest();
    extend(record);
    const EvidenceVerdict verdict = EvidenceVerifier().verify(record, ByteView());
    strength_name(verdict.strength);
}

} // namespace

int main() {
    for (const auto part : {&run_time, &values, &client, &front_door, &evidence}) {
        static_cast<void>(part);
    }
}
