// Whether a key is in strange hands, by what is said of any certificate of that key: what one
// certificate's list tells of its key counts for a path through another one. Only what is said
// under the path's own anchor is heard: whoever stands under another one could certify anybody's
// key, for a certificate needs no proof that its owner has it, and revoke that. Under the same one
// an authority that may issue stampers is believed, whichever it is: it could as well have stamps
// of its own making pass, so that who trusts the anchor trusts it, too. What is wrong with the
// certificate that is spoken of doesn't matter, since its key is what it was. Only of whoever is
// about to be believed is anything fetched.
// For one judgement, one thread; nothing fails but for lack of memory.
#pragma once

#include <basalt/chain/path_judgement.h>
#include <basalt/chain/path_usage.h>
#include <basalt/revocation/status_check.h>

#include <list>

namespace basalt {

class KeyHearing {
public:
    struct Question {
        FileTicks at = 0;
        FileTicks now = 0;
        const UsageQuestion& usage;
        const std::vector<std::string>& policies;
        RevocationMode mode;
        StrengthLevel strength;
        bool may_use_cache = true;
        bool may_fetch = false;     // of those who speak, a few
        bool may_ask_later = false; // it is heard again then
        std::set<const PoolCertificate*>& asked_about;
    };

    struct Heard {
        bool compromised = false;
        // More lay at hand than could be looked at. Never of a compromised one.
        bool cut_short = false;
        // Somebody says that it is who is on hold, or those who could tell about him weren't asked
        // yet, or told nothing; the first address of these that gave nothing. Never of a
        // compromised one.
        bool open = false;
        std::string unreached;
    };

    // All arguments must outlive the object.
    KeyHearing(CertificatePool& pool, Budget& budget, StatusCheck& status, const Question& question)
        : pool_(pool), budget_(budget), status_(status), question_(question) {}

    // Of the certificate's key under the anchor's. One that is the only one of its key tells
    // nothing here: it is judged where it stands.
    Heard hear(const PoolCertificate& certificate, const PoolCertificate& anchor) {
        return hear(certificate.key_bits(), anchor.key_bits(), certificate.digest());
    }

    // The same of one with that digest, which needn't be among those at hand.
    Heard hear(Bytes key, Bytes anchor, const Sha256& itself);

    // Whether a key of the path was found to be compromised already.
    bool has_condemned(const Path& path) const;

private:
    struct Known {
        std::vector<BYTE> key;
        std::vector<BYTE> anchor;
        std::optional<Sha256> only; // nobody was asked of any other certificate
        Heard heard;
        bool under_way = false;
    };

    Heard ask_all(const std::vector<PoolCertificate*>& like_keyed, Bytes anchor);
    // True when it was asked by some way up; false leaves `heard` as it is, or cuts it short.
    bool ask(PoolCertificate& certificate, Bytes anchor, SearchAmong among, Heard& heard);
    // Whether its sources may be asked now, or will be if that is left open.
    struct Asking {
        bool now = false;
        bool later = false;
        bool about_key = false;
    };

    StatusFinding status_of(const Path& path, std::size_t index, FileTicks at,
                            const Asking& asking);
    bool is_for_use(const Path& path) const;
    // What keeps one who may speak from being believed: more lay at hand about him than could be
    // looked at; or he is on hold, or those who could tell haven't been asked yet, or told nothing.
    struct Doubt {
        bool untold = false;
        bool open = false;
        std::string unreached;
    };

    bool may_speak(const Path& path, const PathErrors& errors, const StatusFinding& finding,
                   Doubt& doubt);
    std::optional<FileTicks> said_in_time(const Path& path, const StatusFinding& finding) const;
    bool is_in_good_standing(const Path& path, FileTicks said, Doubt& doubt);

    CertificatePool& pool_;
    Budget& budget_;
    StatusCheck& status_;
    Question question_;
    SearchCounts counts_;
    unsigned speakers_ = 0;
    unsigned circles() const { return circles_ + status_.circles(); }

    unsigned circles_ = 0;
    std::list<Known> known_;
};

} // namespace basalt
