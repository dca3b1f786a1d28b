#include <atomic>
#include <set>
#include <thread>

#include <chronoseal/seal/testing/seal_fixture.h>

namespace chronoseal::testing {
namespace {

using namespace std::chrono_literals;
using tsp::TstInfo;

class SealerTest : public SealTest {
protected:
    SealerOptions options(const LiveAuthority& authority) const {
        return quick({authority.settings()}, authority.trust(), folder);
    }
};

// A signed answer over a TSTInfo that the test may spoil: OpenSSL's authority can't be made to give
// it.
LiveAuthority::Answer spoiled(std::function<void(TstInfo&)> spoil) {
    return [spoil = std::move(spoil)](const tsp::Authority& authority, const std::string& request) {
        const auto expected = Expected::of_request(to_bytes(body_of(request)));
        TstInfo info{.digest = to_text(expected.digest->value()),
                     .genTime = generalized(std::chrono::system_clock::now()),
                     .nonce = expected.nonce ? to_text(*expected.nonce) : ""};
        spoil(info);
        return http_reply(200, tsp::response(0, authority.token(info)));
    };
}

TEST_F(SealerTest, GivesAStampThatAnotherReaderFindsGood) {
    const LiveAuthority authority;
    const Sealer sealer(options(authority));
    const Stamp stamp = sealer.seal(bytes_of("some data"));
    EXPECT_TRUE(Verifier(authority.trust()).verify(stamp, bytes_of("some data")).good());
    EXPECT_EQ(stamp.authority(), authority.url());
    EXPECT_EQ(stamp.attempts(), 1U);
    EXPECT_FALSE(stamp.response().empty());
    EXPECT_EQ(Stamp::read(stamp.token()).info().token->serial_number,
              Stamp::read(stamp.response()).info().token->serial_number);
    const auto file = folder.write("file", "some data");
    EXPECT_TRUE(
        Verifier(authority.trust()).verify(sealer.seal(file), bytes_of("some data")).good());
}

TEST_F(SealerTest, KeepsTheVerdictForThoseWhoAsk) {
    const LiveAuthority authority;
    SealerOptions asked = options(authority);
    EXPECT_EQ(Sealer(asked).seal(bytes_of("x")).verdict(), nullptr);
    asked.keep_verdict = true;
    const Stamp stamp = Sealer(asked).seal(bytes_of("x"));
    ASSERT_NE(stamp.verdict(), nullptr);
    EXPECT_TRUE(stamp.verdict()->good() && stamp.verdict()->compared());
    Expected expected;
    expected.digest = Digest::of(bytes_of("x"), HashAlgorithm::by_name("sha256"));
    expected.nonce = stamp.info().token->nonce;
    expected.nonce_known = true;
    const Verdict again = Verifier(authority.trust()).verify(stamp, expected);
    EXPECT_EQ(stamp.verdict()->chain.size(), again.chain.size());
    for (std::size_t i = 0; i < kChecks; ++i) {
        EXPECT_EQ(stamp.verdict()->findings[i].outcome, again.findings[i].outcome) << i;
    }
    EXPECT_EQ(Stamp::read(stamp.response()).verdict(), nullptr);
}

TEST_F(SealerTest, ABareTokenBecomesAResponse) {
    const LiveAuthority authority;
    const Stamp stamp = Sealer(options(authority)).seal(bytes_of("x"));
    const Stamp bare = Stamp::read(stamp.token());
    EXPECT_TRUE(bare.response().empty());
    EXPECT_EQ(Stamp::read(bare.as_response()).token(), stamp.token());
    EXPECT_EQ(*Stamp::read(bare.as_response()).info().status, 0U);
}

TEST_F(SealerTest, NothingIsReturnedBeforeEveryCheckHasPassed) {
    struct Row {
        const char* name;
        LiveAuthority::Answer answer;
        const char* word;
    };
    const auto constant = [](int status, std::string body) {
        return [=](const tsp::Authority&, const std::string&) { return http_reply(status, body); };
    };
    const tsp::Authority other;
    const Row rows[] = {
        {"another imprint", spoiled([](TstInfo& i) { i.digest = tsp::sha256("other"); }),
         "imprint_differs"},
        {"another algorithm over the same bytes",
         spoiled([](TstInfo& i) { i.hash_oid = "2.16.840.1.101.3.4.2.8"; }),
         "imprint_algorithm_differs"},
        {"another nonce", spoiled([](TstInfo& i) { i.nonce = "\x01"; }), "nonce_differs"},
        {"no nonce", spoiled([](TstInfo& i) { i.nonce = ""; }), "nonce_differs"},
        {"zero", spoiled([](TstInfo& i) { i.nonce = std::string(1, '\0'); }), "nonce_differs"},
        {"the nonce below zero", spoiled([](TstInfo& i) { i.nonce.insert(0, 1, '\xFF'); }),
         "nonce_differs"},
        {"the nonce with zeros in front", spoiled([](TstInfo& i) { i.nonce.insert(0, 2, '\0'); }),
         ""},
        {"another policy", spoiled([](TstInfo& i) { i.policy = "1.2.3.99"; }), "policy_differs"},
        {"a critical extension",
         spoiled([](TstInfo& i) { i.extensions = tsp::extension("1.2.3.4.5", true); }),
         "extension_critical"},
        {"a stranger's signature",
         [&](const tsp::Authority&, const std::string& request) {
             return http_reply(200, other.answer(body_of(request)));
         },
         "chain_incomplete"},
        {"a refusal",
         constant(200, tsp::response(2, "", tsp::element(0x0C, "no"), tsp::fail_info_bits(1))),
         "not_granted"},
        {"a page", constant(200, "<html><body>welcome</body></html>"), "not_a_stamp"},
        {"nothing", constant(200, ""), "not_a_stamp"},
        {"granted without a token", constant(200, tsp::response(0, "")), "token_missing"},
        {"a bare token",
         [](const tsp::Authority& authority, const std::string&) {
             return http_reply(200, authority.token());
         },
         "bare_token"},
        {"401", constant(401, ""), "login_required"},
        {"302", constant(302, ""), "http_redirect"},
        {"404", constant(404, ""), "page_not_found"},
        {"407", constant(407, ""), "proxy_login_required"},
        {"503", constant(503, ""), "server_failure"},
    };
    for (const Row& row : rows) {
        const LiveAuthority authority(row.answer);
        SealerOptions wanted = options(authority);
        wanted.policy = "1.2.3.4";
        wanted.attempts = 1;
        EXPECT_WORD(row.word, Sealer(wanted).seal(bytes_of("data"))) << row.name;
    }
}

TEST_F(SealerTest, AClockThatDiffersIsARemarkAndWithoutNonceARefusal) {
    const LiveAuthority authority(spoiled([](TstInfo& i) { i.genTime = "20240601120000Z"; }));
    SealerOptions wanted = options(authority);
    const Stamp stamp = Sealer(wanted).seal(bytes_of("data"));
    ASSERT_EQ(stamp.remarks().size(), 1U);
    EXPECT_EQ(stamp.remarks()[0].word, "clock_differs");
    wanted.nonce = false;
    EXPECT_WORD("time_differs", Sealer(wanted).seal(bytes_of("data")));
}

// What can be told without the authority is told without asking it.
TEST_F(SealerTest, AsksNothingThatPolicyOrSenseForbids) {
    const LiveAuthority authority;
    using Options = SealerOptions&;
    struct Row {
        const char* machine;
        const char* word;
        std::function<void(Options)> change = [](Options) {};
    };
    const auto url = [](std::string text) {
        return [text](Options o) { o.authorities[0].url = text; };
    };
    const auto policy = [](std::string text) { return [text](Options o) { o.policy = text; }; };
    const auto login_file = [&](const char* content, int mode) {
        return [file = folder.write("login " + std::to_string(mode), content, mode)](Options o) {
            o.authorities[0].login_file = file;
        };
    };
    const auto log_in = [](Options o) { o.authorities[0].login = Login{"user", "pw"}; };
    const Row rows[] = {
        {"", "no_address", [](Options o) { o.authorities.clear(); }},
        {"", "address_malformed", url("ftp://127.0.0.1/")},
        {"", "address_malformed", url("tsa.example")},
        {"", "address_malformed", url("http://127.0.0.1/a b")},
        {"", "address_has_login", url("http://user:pw@127.0.0.1/")},
        {"", "hash_unknown", [](Options o) { o.hash = "sha257"; }},
        {"", "quorum_impossible", [](Options o) { o.quorum = 2; }},
        {"", "policy_malformed", policy("abc")},
        {"", "policy_malformed", policy("1")},
        {"", "policy_malformed", policy("3.99")},
        {"", "policy_malformed", policy("1.2.")},
        {"", "policy_malformed", policy("1.02.3")},
        {"", "policy_malformed", policy("\x1b")},
        {"", "no_certificates", [](Options o) { o.trust.roots = {Bytes(3)}; }},
        {"", "login_file_open", login_file("user:pw", 0644)},
        {"", "login_malformed", login_file("user", 0600)},
        {"AllowedTSPs = ['http://other.example/']", "address_denied"},
        {"HashAlgsDenied = ['2.16.840.1.101.3.4.2.1']", "hash_denied"},
        {"AllowedPolicyID = ['1.2.3']", "policy_denied", policy("1.2.3.4")},
        {"RequireNonce = true", "nonce_denied", [](Options o) { o.nonce = false; }},
        {"AuthDenyAnonym = true", "auth_denied"},
        {"AuthDenyBasic = true", "auth_denied", log_in},
        // Capital letters are no way around the switches.
        {"AuthDenyBasic = true", "auth_denied",
         [&](Options o) {
             log_in(o);
             o.authorities[0].url.replace(0, 4, "HTTP");
         }},
        {"AllowedTSPs = 5", "policy_unreadable"},
    };
    for (const Row& row : rows) {
        tsp::Configuration::instance().set(row.machine);
        SealerOptions wanted = options(authority);
        row.change(wanted);
        EXPECT_WORD(row.word, Sealer(wanted).seal(bytes_of("data"))) << row.machine;
    }
    EXPECT_EQ(authority.requests(), 0U);
}

TEST_F(SealerTest, LogsInFromAFileAndShowsThePasswordToNobodyElse) {
    const LiveAuthority authority;
    for (const bool netrc : {false, true}) {
        SealerOptions wanted = options(authority);
        if (netrc) {
            wanted.authorities[0].netrc =
                folder.write("netrc", "machine other login a password b\n"
                                      "machine 127.0.0.1\n  login user password \"p:w\"\ndefault "
                                      "login x password y\n");
        } else {
            wanted.authorities[0].login_file = folder.write("login", "user:p:w\nrest\n");
        }
        const Stamp stamp = Sealer(wanted).seal(bytes_of("data"));
        const std::string request = authority.request(authority.requests() - 1);
        EXPECT_NE(request.find("Authorization: Basic dXNlcjpwOnc="), std::string::npos) << request;
        EXPECT_EQ(stamp.authority().find("p:w"), std::string::npos);
    }
}

TEST_F(SealerTest, TheNextAuthorityIsAskedWhereOneFails) {
    const LiveAuthority forging([](const tsp::Authority&, const std::string& request) {
        return http_reply(200, tsp::Authority().answer(body_of(request)));
    });
    const LiveAuthority good;
    SealerOptions wanted = options(good);
    wanted.authorities = {{.url = "http://127.0.0.1:1/"}, forging.settings(), good.settings()};
    wanted.attempts = 1;
    const Sealer sealer(wanted);
    const Stamp stamp = sealer.seal(bytes_of("a"));
    EXPECT_EQ(stamp.authority(), good.url());
    ASSERT_EQ(stamp.remarks().size(), 2U); // what stood in the way of the others
    EXPECT_EQ(stamp.remarks()[1].word, "authority_passed_over");
    EXPECT_EQ(stamp.remarks()[1].text.find(forging.url()), 0U);
    EXPECT_EQ(sealer.seal(bytes_of("b")).authority(), good.url());
    EXPECT_EQ(forging.requests(), 2U);
    // Twice was enough: it rests.
    EXPECT_EQ(sealer.seal(bytes_of("c")).authority(), good.url());
    EXPECT_EQ(forging.requests(), 2U);
}

TEST_F(SealerTest, APassingFailureIsTriedAgainAndTheServersWishCounts) {
    std::atomic<int> asked = 0;
    const LiveAuthority authority([&](const tsp::Authority& tsa, const std::string& request) {
        return ++asked < 3 ? http_reply(429, "", "Retry-After: 1\r\n")
                           : http_reply(200, tsa.answer(body_of(request)));
    });
    SealerOptions wanted = options(authority);
    wanted.longest_wait = 100ms;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Sealer(wanted).seal(bytes_of("a")).attempts(), 3U);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 200ms);
    asked = 0;
    wanted.attempts = 2;
    EXPECT_WORD("too_many_requests", Sealer(wanted).seal(bytes_of("a")));
}

TEST_F(SealerTest, AQuorumIsOfDifferentKeysOrNothing) {
    const LiveAuthority first;
    const LiveAuthority second;
    SealerOptions wanted = options(first);
    wanted.authorities = {first.settings(), first.settings(), second.settings()};
    wanted.trust.roots.push_back(to_bytes(second.authority().root_der()));
    wanted.quorum = 2;
    const auto digest = Digest::of(bytes_of("data"), HashAlgorithm::by_name("sha256"));
    const auto stamps = Sealer(wanted).seal_quorum(digest);
    ASSERT_EQ(stamps.size(), 2U);
    EXPECT_EQ(stamps[0].authority(), first.url());
    EXPECT_EQ(stamps[1].authority(), second.url());
    wanted.authorities.pop_back();
    EXPECT_WORD("quorum_missed", Sealer(wanted).seal_quorum(digest));
}

TEST_F(SealerTest, ARateHoldsOverSealersAndProcesses) {
    const LiveAuthority authority;
    SealerOptions wanted = options(authority);
    wanted.authorities[0].rate = {2, 300ms};
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 2; ++i) {
        const Sealer sealer(wanted); // a new one knows of the earlier one's requests by the file
        sealer.seal(bytes_of("a"));
        sealer.seal(bytes_of("b"));
    }
    EXPECT_GE(std::chrono::steady_clock::now() - start, 290ms);
    // A broken file stops nobody.
    folder.write("rates", std::string(1 << 19, 'x'));
    EXPECT_WORD("", Sealer(wanted).seal(bytes_of("c")));
}

TEST_F(SealerTest, TheMachinesRateHoldsForItsAddressAndTheWaitIsTold) {
    const LiveAuthority authority;
    tsp::Configuration::instance().set("", "[[config.chronoseal.authority]]\nUrl = '" +
                                               authority.url() +
                                               "'\nRateCount = 1\nRateMilliseconds = 86400000\n");
    SealerOptions wanted = options(authority);
    std::stop_source stop;
    wanted.on_wait = [&](const std::string& address, std::chrono::milliseconds wait) {
        EXPECT_EQ(address, authority.url());
        EXPECT_GT(wait, 23h);
        stop.request_stop();
    };
    const Sealer sealer(wanted);
    sealer.seal(bytes_of("a"));
    EXPECT_WORD("cancelled", sealer.seal(bytes_of("b"), stop.get_token()));
}

TEST_F(SealerTest, AStopEndsTheWaiting) {
    const LiveAuthority authority(
        [](const tsp::Authority&, const std::string&) { return http_reply(503, ""); });
    SealerOptions wanted = options(authority);
    wanted.first_wait = 60s;
    wanted.longest_wait = 60s;
    std::stop_source stop;
    const std::jthread stopper([&] {
        while (authority.requests() == 0) {
            std::this_thread::sleep_for(1ms);
        }
        stop.request_stop();
    });
    EXPECT_WORD("cancelled", Sealer(wanted).seal(bytes_of("a"), stop.get_token()));
}

TEST_F(SealerTest, ABatchStampsEachItemOnceOverItsConnections) {
    const LiveAuthority authority;
    const Sealer sealer(options(authority));
    std::vector<Item> items;
    for (int i = 0; i < 20; ++i) {
        items.push_back(to_bytes("item " + std::to_string(i)));
    }
    items.push_back(folder.write("file", "content"));
    items.push_back(folder.path() / "missing");
    items.push_back(Digest::of(bytes_of("x"), HashAlgorithm::by_name("sha512")));
    std::set<std::uint64_t> seen;
    const Verifier verifier(authority.trust());
    const auto summary = sealer.seal_range(
        items,
        [&](const BatchResult& result) {
            EXPECT_TRUE(seen.insert(result.index).second);
            if (result.error) {
                EXPECT_EQ(result.error->word(), "file_unreadable");
                EXPECT_EQ(result.index, 21U);
            } else if (const auto* bytes = std::get_if<Bytes>(&result.item)) {
                EXPECT_TRUE(verifier.verify(result.stamps.at(0), *bytes).good());
            }
        },
        4);
    EXPECT_EQ(summary.stamped, 22U);
    EXPECT_EQ(summary.failed, 1U);
    EXPECT_FALSE(summary.stopped);
    EXPECT_EQ(seen.size(), 23U);
}

TEST_F(SealerTest, ABatchEndsWithWhatTheCallerThrowsAndOnAStop) {
    const LiveAuthority authority;
    const Sealer sealer(options(authority));
    int given = 0;
    const auto next = [&]() -> std::optional<Item> {
        return Item(to_bytes(std::to_string(++given)));
    };
    EXPECT_THROW(sealer.seal_all(
                     next, [](const BatchResult&) { throw std::runtime_error("enough"); }, 3),
                 std::runtime_error);
    std::stop_source stop;
    int done = 0;
    const auto summary = sealer.seal_all(
        next,
        [&](const BatchResult&) {
            if (++done == 5) {
                stop.request_stop();
            }
        },
        2, stop.get_token());
    EXPECT_TRUE(summary.stopped);
    EXPECT_LT(summary.stamped, 10U);
}

TEST_F(SealerTest, ABatchDoesNotWaitForEachTimeOutOfADeadAuthority) {
    SealerOptions wanted = quick({{.url = "http://127.0.0.1:1/"}}, {}, folder);
    wanted.trust.roots = {to_bytes(tsp::Authority().root_der())};
    wanted.attempts = 1;
    const std::vector<Item> items(200, Item(to_bytes("x")));
    std::set<std::string> words;
    const auto summary = Sealer(wanted).seal_range(
        items, [&](const BatchResult& result) { words.insert(result.error->word()); }, 4);
    EXPECT_EQ(summary.failed, 200U);
    EXPECT_EQ(words, std::set<std::string>{"cannot_connect"});
}

TEST_F(SealerTest, AFinishedRequestGoesOutAsItIs) {
    const LiveAuthority authority;
    SealerOptions wanted = options(authority);
    const Sealer sealer(wanted);
    const Bytes request =
        sealer.request(Digest::of(bytes_of("data"), HashAlgorithm::by_name("sha256")));
    const Stamp stamp = sealer.send(request);
    EXPECT_EQ(body_of(authority.request(0)), to_text(request));
    EXPECT_TRUE(Verifier(authority.trust()).verify(stamp, Expected::of_request(request)).good());
    EXPECT_WORD("not_a_request", sealer.send(bytes_of("no request")));
    // Without the authority's certificate its answer couldn't be judged: nobody is asked.
    wanted.certificates = false;
    wanted.only_requests = true;
    const Bytes bare = Sealer(wanted).request(Digest::of(bytes_of("data"), sealer.hash()));
    EXPECT_FALSE(inspect(bare).certificates_wanted);
    EXPECT_TRUE(inspect(request).certificates_wanted);
    EXPECT_WORD("certificates_not_asked", sealer.send(bare));
    EXPECT_EQ(authority.requests(), 1U);
}

} // namespace
} // namespace chronoseal::testing
