"""What was fetched of a revocation goes on counting, whatever comes beside a stamp and whatever its source says later; nor
does what comes beside it keep anybody from being asked."""

import collections
import datetime
import shutil

import forge
import page_server
import program
from asn1crypto import crl, x509
from hostile_tokens import DIGEST, NO_CHECK, TokenTest
from program import GOOD, REFUSED, UNREACHABLE

REVOKED = "0x80092010"
AVAILABLE = ("--revocation", "available")


class Handler(page_server.Handler):
    def do_GET(self):
        self.headers["Content-Length"] = "0"
        self.do_POST()


def list_of(issuer, *revoked, made=forge.days(1), until=forge.days(7), extensions=(), number=1):
    """One of forge's, made so long ago, until so long from now; `revoked` are a certificate and a reason."""
    two_days_ago = forge.now() - forge.days(2)
    tbs = crl.CertificateList.load(forge.make_crl(
        issuer, [(one.serial, two_days_ago, reason) for one, reason in revoked]))["tbs_cert_list"]
    tbs["this_update"] = x509.Time({"utc_time": forge.now() - made})
    tbs["next_update"] = x509.Time({"utc_time": forge.now() + until})
    others = [one for one in tbs["crl_extensions"] if one["extn_id"].native != "crl_number"]
    tbs["crl_extensions"] = [*others, {"extn_id": "crl_number", "critical": False, "extn_value": number}, *extensions]
    content = tbs.dump(force=True)
    return forge.element(0x30, content + tbs["signature"].dump() + forge.element(3, b"\0" + issuer.key.sign(content)))


class FetchedRevocation(TokenTest):
    """The issuer's list is a page, and the stamp some hours old: the lists were made before it or after it."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.server = page_server.PageServer({})
        cls.addClassCleanup(cls.server.close)
        cls.server.RequestHandlerClass = Handler
        cls.url = cls.server.url
        cls.ca = cls.authority_named("ca", cls.root, "root.crl")
        cls.signer = forge.issue(cls.folder, "signer", cls.ca, crl_url=cls.url + "ca.crl")
        cls.info = forge.tst_info(DIGEST, time=forge.now() - datetime.timedelta(hours=5))
        cls.root_list = list_of(cls.root)

    @classmethod
    def authority_named(cls, name, issuer, page, **options):
        return forge.issue(cls.folder, name, issuer, ca=True, usage=None, crl_url=cls.url + page, **options)

    def begin(self, page, content):
        """Nothing is cached, and nothing is published but the root's list and this."""
        shutil.rmtree(self.workspace.path / "cache", ignore_errors=True)
        self.server.pages = collections.defaultdict(lambda: lambda _: (404, {}, b""))
        self.publish("root.crl", self.root_list)
        self.publish(page, content)

    def publish(self, page, content):
        self.server.pages[page] = lambda _: (200, {}, content)

    def stamp_of(self, signer, *above, lists=()):
        return self.with_parts(None, [one.der for one in above], lists, signer)

    def test_a_twin_of_the_issuer_hides_no_cached_revocation(self):
        """Not even beside what was said before, and is still in force."""
        responder = forge.issue(self.folder, "responder", self.ca, usage=("ocsp_signing",), extra_extensions=[NO_CHECK])
        asking = forge.issue(self.folder, "asking", self.ca, ocsp_url=self.url + "ocsp")
        said = forge.among_lists(forge.answer_of(responder, self.ca, asking, made=forge.days(3)))
        before = list_of(self.ca, made=forge.days(3))
        for signer, page, content, earlier in (
                (self.signer, "ca.crl", list_of(self.ca, (self.signer, "superseded")), before),
                (self.signer, "ca.crl", list_of(self.ca, (self.signer, "key_compromise")), before),
                (asking, "ocsp", forge.answer_of(responder, self.ca, asking, "key_compromise"), said)):
            self.begin(page, content)
            self.refuses(self.stamp_of(signer, self.ca), REVOKED)
            self.server.pages.clear()
            other = forge.twin(self.ca)
            for above in ((self.ca,), (other,), (self.ca, other)):
                for options, lists in ((AVAILABLE, ()), ((*AVAILABLE, "--offline"), ()),
                                       ((), (self.root_list, earlier)), (("--offline",), (self.root_list, earlier))):
                    with self.subTest(page=page, itself=self.ca in above, twin=other in above, options=options):
                        self.refuses(self.stamp_of(signer, *above, lists=lists), REVOKED, *options)

    def test_an_older_list_takes_no_newer_ones_place(self):
        neighbour = forge.issue(self.folder, "neighbour", self.ca, crl_url=self.url + "ca.crl")
        stamp = self.stamp_of(self.signer, self.ca)
        for reason, until, asked in (("certificate_hold", forge.days(7), stamp),
                                     ("key_compromise", -datetime.timedelta(minutes=1), self.stamp_of(neighbour, self.ca))):
            with self.subTest(reason):
                self.begin("ca.crl", list_of(self.ca, (self.signer, reason), until=until))
                self.refuses(stamp, REVOKED)
                self.publish("ca.crl", list_of(self.ca, made=forge.days(3)))
                self.verify(asked)  # has the older one fetched
                self.refuses(stamp, REVOKED)
                self.refuses(stamp, REVOKED, "--offline")
        self.begin("ca.crl", list_of(self.ca, (self.signer, "certificate_hold")))
        self.refuses(stamp, REVOKED)
        self.publish("ca.crl", list_of(self.ca, made=datetime.timedelta(hours=1)))  # newer: the hold was lifted
        for options in ((), (), ("--offline",)):
            self.passes(stamp, *options)

    def test_neither_a_look_back_nor_a_newer_list_of_less_replaces_it(self):
        neighbour = forge.issue(self.folder, "neighbour", self.ca, crl_url=self.url + "ca.crl")
        stamp, asked = self.stamp_of(self.signer, self.ca), self.stamp_of(neighbour, self.ca)
        some = {"extn_id": "issuing_distribution_point", "critical": True,
                "extn_value": {"only_some_reasons": {"key_compromise", "superseded"}}}
        changes = {"extn_id": "delta_crl_indicator", "critical": True, "extn_value": 1}
        hour = datetime.timedelta(hours=1)
        before = (forge.now() - 3 * hour).strftime("%Y-%m-%dT%H:%M:%SZ")
        for name, content, options in (
                ("older, as of then", list_of(self.ca, made=forge.days(3)), ("--at", before)),
                ("for some reasons", list_of(self.ca, made=forge.days(0), extensions=[some]), ()),
                ("changes alone", list_of(self.ca, made=forge.days(0), extensions=[changes], number=2), ())):
            with self.subTest(name):
                self.begin("ca.crl", list_of(self.ca, (self.signer, "key_compromise"), made=hour, until=-hour / 60))
                self.refuses(stamp, REVOKED)
                self.publish("ca.crl", content)
                self.verify(asked, *options)
                self.server.pages.clear()
                self.refuses(stamp, REVOKED, "--offline")

    def test_a_look_back_replaces_no_answer(self):
        """As of a day when it wasn't revoked yet the source is asked, and says what it said then."""
        self.info = forge.tst_info(DIGEST, time=forge.now() - forge.days(4))
        asking = forge.issue(self.folder, "asking", self.ca, ocsp_url=self.url + "ocsp")
        stamp = self.stamp_of(asking, self.ca)
        self.begin("ocsp", forge.answer_of(self.ca, self.ca, asking, "key_compromise"))
        self.refuses(stamp, REVOKED)
        self.publish("ocsp", forge.answer_of(self.ca, self.ca, asking, made=forge.days(3.5)))
        self.verify(stamp, "--at", (forge.now() - forge.days(3)).strftime("%Y-%m-%dT%H:%M:%SZ"))
        for options in ((), ("--offline",)):
            self.refuses(stamp, REVOKED, *options)

    def test_an_authority_is_the_same_however_its_name_is_written(self):
        content = list_of(self.ca, (self.signer, "key_compromise"))
        other = forge.issue(self.folder, "CA", self.root, ca=True, usage=None, key=self.ca.key, crl_url=self.url + "root.crl")
        self.begin("ca.crl", content)
        self.refuses(self.stamp_of(self.signer, self.ca), REVOKED)
        self.refuses(self.stamp_of(self.signer, other), REVOKED, "--offline", *AVAILABLE)

    def test_judging_another_certificate_of_the_address_forgets_nothing(self):
        sub = self.authority_named("sub", self.ca, "ca.crl")
        lister = self.authority_named("ca", self.root, "root.crl")
        users_only = {"extn_id": "issuing_distribution_point", "critical": True,
                      "extn_value": {"only_contains_user_certs": True}}
        neighbour = forge.issue(self.folder, "neighbour", self.ca, crl_url=self.url + "ca.crl")
        below = forge.issue(self.folder, "below", sub)
        taken = (self.signer, "key_compromise")
        for name, content, above, other in (
                ("an authority, for which the list isn't", list_of(self.ca, taken, extensions=[users_only]), [self.ca],
                 self.stamp_of(below, sub, self.ca)),
                ("without the one who signs the lists", list_of(lister, taken), [self.ca, lister],
                 self.stamp_of(neighbour, self.ca))):
            with self.subTest(name):
                self.begin("ca.crl", content)
                stamp = self.stamp_of(self.signer, *above)
                self.refuses(stamp, REVOKED)
                self.server.pages.clear()
                self.refuses(stamp, REVOKED, *AVAILABLE)
                self.verify(other, *AVAILABLE)
                self.refuses(stamp, REVOKED, *AVAILABLE)
                earlier = list_of(self.ca, made=forge.days(3))
                self.refuses(self.stamp_of(self.signer, *above, lists=[earlier, self.root_list]), REVOKED)

    def test_the_word_of_a_responder_that_a_cached_list_revokes_is_not_final(self):
        responder = forge.issue(self.folder, "responder", self.ca, usage=("ocsp_signing",), extra_extensions=[NO_CHECK])
        for why in ("superseded", "key_compromise"):
            word = forge.among_lists(forge.answer_of(responder, self.ca, self.signer, why))
            accused = self.stamp_of(self.signer, self.ca, lists=[word])
            for revoked, statuses in (((), (REFUSED,)), (((responder, "key_compromise"),), (GOOD, UNREACHABLE))):
                self.begin("ca.crl", list_of(self.ca, *revoked))
                self.passes(self.stamp_of(self.signer, self.ca))
                for options in ((), ("--offline",)):
                    with self.subTest(said=why, revoked=bool(revoked), options=options):
                        result = self.verify(accused, *options)
                        self.assertIn(result.returncode, statuses, result.stderr)

    def test_twins_take_nobodys_turn_to_be_asked(self):
        """Of a way up whose source is gone there may be many; the good one goes behind them, by its digest."""
        key, gone = forge.Key(self.folder), "http://127.0.0.1:1/gone.crl"
        for _ in range(4):
            by_ca = self.authority_named("two ways", self.ca, "ca.crl", key=key)
            side = self.authority_named("side", self.root, "root.crl")
            by_side = forge.issue(self.folder, "two ways", side, ca=True, usage=None, key=key, crl_url=gone)
            signer = forge.issue(self.folder, "signer", by_ca, crl_url=self.url + "below.crl")
            self.begin("ca.crl", list_of(self.ca))
            self.publish("below.crl", list_of(by_ca))
            beside = [side, forge.twin(side), by_side, forge.twin(by_side)]
            self.passes(self.stamp_of(signer, by_ca, self.ca, *beside))


if __name__ == "__main__":
    program.main()
