#include <basalt/revocation/evidence_signer.h>

#include <basalt/certificate/extended_key_usage.h>
#include <basalt/coding/flat_block.h>
#include <basalt/coding/openssl_owner.h>

#include <openssl/err.h>

#include <algorithm>

namespace basalt {

namespace {

// In the budget's comparisons: to look which key and which strength a signature needs.
constexpr std::size_t kTryingASigner = 5;
constexpr std::size_t kOctetsCompared =
    16; // for one; to take a name apart takes one for each octet

constexpr char kExtendedKeyUsage[] = "2.5.29.37";
constexpr BYTE kOcspSigning[] = {0x2B, 0x06, 0x01, 0x05, 0x05, 0x07, 0x03, 0x09};

bool is_name(Bytes encoded, const X509_NAME* name) {
    const unsigned char* octets = nullptr;
    std::size_t size = 0;
    if (X509_NAME_get0_der(name, &octets, &size) == 1 && same_bytes(encoded, {octets, size})) {
        return true;
    }
    const unsigned char* cursor = encoded.data();
    const OpensslOwner<X509_NAME, X509_NAME_free> read(
        d2i_X509_NAME(nullptr, &cursor, static_cast<long>(encoded.size())));
    return read && X509_NAME_cmp(read.get(), name) == 0;
}

bool has_subject(const X509Entry& entry, const X509_NAME* name) {
    return X509_NAME_cmp(X509_get_subject_name(entry.certificate.get()), name) == 0;
}

// Without the extension every usage is allowed, which OpenSSL tells by all bits set.
bool may_sign_lists(const X509Entry& entry) {
    return (X509_get_key_usage(entry.certificate.get()) & KU_CRL_SIGN) != 0;
}

// Who isn't an authority signs no lists by the way (RFC 5280, 4.2.1.3). An anchor needn't say so.
bool says_what_it_is_for(const X509Entry& entry) {
    return (X509_get_extension_flags(entry.certificate.get()) & (EXFLAG_KUSAGE | EXFLAG_CA)) != 0;
}

bool is_valid_at(const X509* certificate, FileTicks at) {
    const std::optional<FileTicks> begin = ticks_of(X509_get0_notBefore(certificate));
    const std::optional<FileTicks> end = ticks_of(X509_get0_notAfter(certificate));
    return begin && end && *begin <= at && at < *end + kTicksPerSecond;
}

bool may_sign_answers(const X509* certificate) {
    auto* x509 = const_cast<X509*>(certificate);
    const std::uint32_t flags = X509_get_extension_flags(x509);
    constexpr std::uint32_t kSigning = KU_DIGITAL_SIGNATURE | KU_NON_REPUDIATION;
    return (flags & (EXFLAG_INVALID | EXFLAG_CRITICAL)) == 0 && (flags & EXFLAG_XKUSAGE) != 0 &&
           (X509_get_extended_key_usage(x509) & XKU_OCSP_SIGN) != 0 &&
           (X509_get_key_usage(x509) & kSigning) != 0;
}

bool same(const X509Entry& a, const X509Entry& b) {
    return X509_cmp(a.certificate.get(), b.certificate.get()) == 0;
}

} // namespace

// When whoever signed it has to be entitled to. While the certificate is valid only what is in
// force counts, and so its signer has to be good now, whenever it says that it was made. What
// speaks of an ended certificate may come from those who have ended, too.
FileTicks EvidenceSigner::moment_of(const EvidenceItem& item) const {
    const auto end = ticks_of(X509_get0_notAfter(path_[index_]->certificate.get()));
    const bool ended = end && *end + kTicksPerSecond <= question_.now;
    return ended ? item.made_at() : question_.now;
}

StatusQuestion EvidenceSigner::question_about_signer(FileTicks at) const {
    StatusQuestion question = question_;
    question.stamp_time = at;
    question.is_signer = true;
    question.is_about_key = false;
    return question;
}

bool EvidenceSigner::has_signed_list(const EvidenceItem& item, const X509Entry& signer,
                                     bool foreign_signer) {
    return has_subject(signer, item.list->issuer()) && may_sign_lists(signer) &&
           session_.affords(item, kTryingASigner) &&
           session_.signatures.good(*item.list, signer, question_.strength,
                                    item.given() || foreign_signer, item.octets_to_pay());
}

// A certificate that the authority has issued to a responder for just that.
bool EvidenceSigner::is_delegate(const EvidenceItem& item, const X509Entry& responder) {
    X509* certificate = responder.certificate.get();
    const X509Entry& authority = *issuer();
    return may_sign_answers(certificate) &&
           X509_NAME_cmp(X509_get_issuer_name(certificate),
                         X509_get_subject_name(authority.certificate.get())) == 0 &&
           is_valid_at(certificate, moment_of(item)) &&
           session_.signatures.good(responder, authority, question_.strength, item.given());
}

// What can't be one by its own word OpenSSL needn't read.
bool EvidenceSigner::may_be_delegate(const EvidenceItem& item, const CertificateBody& responder) {
    const auto [known, is_new] =
        session_.may_be_delegates.try_emplace({&responder, issuer().get()}, false);
    if (!is_new) {
        return known->second;
    }
    const CERT_INFO& info = responder.info();
    const CERT_EXTENSION* usages =
        CertFindExtension(kExtendedKeyUsage, info.cExtension, info.rgExtension);
    if (usages == nullptr || !session_.affords(item, kTryingASigner + info.Issuer.cbData +
                                                         usages->Value.cbData / kOctetsCompared)) {
        return false;
    }
    known->second =
        names_usage(bytes_of(usages->Value), kOcspSigning) &&
        is_name(bytes_of(info.Issuer), X509_get_subject_name(issuer()->certificate.get()));
    return known->second;
}

// As OpenSSL has read it: each once, and not more of them than the budget has.
CertificateEntry EvidenceSigner::prepared(const CertificateBody& responder, bool given) {
    const auto known = session_.responders.find(responder.digest());
    if (known != session_.responders.end()) {
        return known->second;
    }
    if (!session_.budget.take_responder(responder.info(), responder.encoded().size(), given)) {
        session_.signatures.note_left_out();
        return nullptr;
    }
    CertificateEntry entry;
    try {
        entry = responder.x509();
    } catch (const Fault&) {
        entry = nullptr; // OpenSSL can't read it
    }
    return session_.responders[responder.digest()] = std::move(entry);
}

bool EvidenceSigner::has_signed_answer(const EvidenceItem& item) {
    if (item.answer->names_responder(issuer()->certificate.get()) &&
        session_.signatures.good(*item.answer, *issuer(), question_.strength, item.given(),
                                 item.octets_to_pay())) {
        is_beyond_doubt_ = true;
        return true;
    }
    for (const auto& candidate : item.answer->responders) {
        const CertificateEntry responder =
            may_be_delegate(item, *candidate) ? prepared(*candidate, item.given()) : nullptr;
        if (!responder || !is_delegate(item, *responder) ||
            !session_.signatures.good(*item.answer, *responder, question_.strength, item.given(),
                                      item.octets_to_pay())) {
            continue;
        }
        if (is_trusted_delegate(item, responder)) {
            return true;
        }
    }
    return false;
}

// Nobody is asked of one whose authority says that nobody need be; what is known of it all the
// same counts. Nobody is believed where he is judged himself.
bool EvidenceSigner::is_trusted_delegate(const EvidenceItem& item,
                                         const CertificateEntry& responder) {
    if (session_.is_key_under_way(*responder)) {
        return false;
    }
    CertificatePath path{responder};
    path.insert(path.end(), path_.begin() + static_cast<std::ptrdiff_t>(index_) + 1, path_.end());
    StatusQuestion question = question_about_signer(moment_of(item));
    if (X509_get_ext_by_NID(responder->certificate.get(), NID_id_pkix_OCSP_noCheck, -1) >= 0) {
        question.may_fetch = false;
        const StatusFinding finding = session_.judge(path, 0, question);
        if (finding.heard_revoked || finding.key_is_compromised) {
            distrust(finding);
            return false;
        }
        if ((finding.cause == UnknownCause::exhausted && item.given()) || finding.not_heard) {
            is_distrusted_ = true; // what was left out may revoke it
            return false;
        }
    } else if (!passes_with_support(item, path, 0, question)) {
        return false;
    }
    return has_sound_key(item, responder);
}

// As in passes_with_support: what is foreign can't silence what isn't.
bool EvidenceSigner::has_sound_key(const EvidenceItem& item, const CertificateEntry& signer) {
    const KeyHeard heard = session_.paths.hear_of_key(signer, path_.back());
    if (heard == KeyHeard::untold) {
        session_.signatures.note_left_out();
    }
    const bool is_sound =
        heard == KeyHeard::nothing || (heard == KeyHeard::untold && !item.given());
    is_distrusted_ = is_distrusted_ || !is_sound; // whoever says so may have reason to
    return is_sound;
}

// Nobody doubts that one is revoked of whom its own issuer says so, if that can't be lifted.
void EvidenceSigner::distrust(const StatusFinding& signer) {
    is_distrusted_ = is_distrusted_ || !signer.stands();
}

bool EvidenceSigner::is_on_path(const EvidenceItem& item) {
    is_beyond_doubt_ = false;
    is_doubtful_ = false;
    is_distrusted_ = false;
    if (item.answer) {
        return has_signed_answer(item);
    }
    if (has_signed_list(item, *issuer())) {
        is_beyond_doubt_ = true;
        list_signer_ = issuer();
        return true;
    }
    // Who signs lists for others, by its certificate's own word also the one about itself.
    list_signer_ = path_[index_];
    return scope_.points_to(item.list->issuer()) && has_signed_list(item, *list_signer_);
}

bool EvidenceSigner::is_beside_path(const EvidenceItem& item) {
    is_beyond_doubt_ = false;
    is_doubtful_ = false;
    is_distrusted_ = false;
    if (!item.list) {
        return false;
    }
    const std::string& key = item.list->key_identifier_bytes;
    const std::shared_ptr<const NamedCertificates> others =
        session_.paths.named({item.list->issuer(),
                              {reinterpret_cast<const BYTE*>(key.data()), key.size()},
                              item.own,
                              item.given()});
    if (!session_.affords(item, path_.size() * others->found.size())) {
        return false;
    }
    bool untold = !others->complete;
    const unsigned left_out_before = session_.signatures.left_out();
    for (const auto& [other, own] : others->found) {
        if (item.given() && session_.signatures.left_out() != left_out_before) {
            break; // there is no use in asking of every other list and key whether it is too many
        }
        if (same(*other, *issuer()) || session_.is_under_way(*other) ||
            !has_signed_list(item, *other, !own)) {
            continue;
        }
        const FileTicks at = moment_of(item);
        const PathFound found = session_.paths.any_path(
            {other, path_.back(), at, !item.given()},
            [&](CertificatePathView path) { return is_in_good_standing(item, path, at); });
        if (found == PathFound::taken) {
            if (says_what_it_is_for(*other) || same(*other, *path_.back())) {
                list_signer_ = other;
                return true;
            }
            is_distrusted_ = true;
        }
        untold = untold || found == PathFound::untold;
    }
    if (untold) {
        session_.signatures.note_left_out();
    }
    return false;
}

bool EvidenceSigner::passes_with_support(const EvidenceItem& item, CertificatePathView path,
                                         std::size_t index, const StatusQuestion& question) {
    const StatusFinding finding = session_.judge(path, index, question);
    // Foreign lists about the signer of what isn't foreign can't silence it: whoever sent them
    // could have left them away. That some weren't looked at is kept in mind all the same.
    const bool speaks = !item.given() && session_.good_but_for_foreign;
    // Whom nobody could be asked about yet doesn't pass, so that somebody is.
    const RevocationMode mode = question.may_ask_later ? RevocationMode::require : question.mode;
    if (!speaks && !passes(finding, mode)) {
        distrust(finding);
        return false;
    }
    is_doubtful_ = is_doubtful_ || (!speaks && !passes(finding, RevocationMode::require));
    add_unknown(session_.support[&item], finding.evidence);
    return true;
}

// From the anchor down: what whoever was revoked has issued needn't be asked about.
bool EvidenceSigner::is_in_good_standing(const EvidenceItem& item, CertificatePathView path,
                                         FileTicks at) {
    const StatusQuestion question = question_about_signer(at);
    for (std::size_t i = path.size() - 1; i-- > 0;) {
        if (session_.is_under_way(*path[i]) || !passes_with_support(item, path, i, question) ||
            !has_sound_key(item, path[i])) {
            return false;
        }
    }
    return true;
}

} // namespace basalt
