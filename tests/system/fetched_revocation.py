"""What was fetched of a revocation goes on counting, whatever comes beside a stamp and whatever its source says later; nor
does what comes beside it keep anybody from being asked."""

import collections
import datetime
import functools
import hashlib
import shutil
import time

import forge
import page_server
import program
from asn1crypto import algos, core, crl, ocsp, x509
from hostile_tokens import DIGEST, NO_CHECK, TokenTest
from program import GOOD, REFUSED, UNREACHABLE

REVOKED = "0x80092010"
AVAILABLE = ("--revocation", "available")
NOW = forge.now()  # for all that is dated here: the same dates are the same
HOUR = datetime.timedelta(hours=1)


class Handler(page_server.Handler):
    def do_GET(self):
        self.headers["Content-Length"] = "0"
        self.do_POST()


def list_of(issuer, *revoked, made=forge.days(1), until=forge.days(7), extensions=(), number=1, since=forge.days(2)):
    """One of forge's, made so long ago, until so long from now; `revoked` are a certificate and a reason."""
    tbs = crl.CertificateList.load(forge.make_crl(
        issuer, [(one.serial, NOW - since, reason) for one, reason in revoked]))["tbs_cert_list"]
    tbs["this_update"] = x509.Time({"utc_time": NOW - made})
    tbs["next_update"] = x509.Time({"utc_time": NOW + until})
    others = [one for one in tbs["crl_extensions"] if one["extn_id"].native != "crl_number"]
    tbs["crl_extensions"] = [*others, {"extn_id": "crl_number", "critical": False, "extn_value": number}, *extensions]
    content = tbs.dump(force=True)
    return forge.element(0x30, content + tbs["signature"].dump() + forge.element(3, b"\0" + issuer.key.sign(content)))


def scope(**fields):
    return {"extn_id": "issuing_distribution_point", "critical": True, "extn_value": fields}


def answer_of(issuer, certificate, reason=None, *, made, until=forge.days(2), produced=None, since=forge.days(2)):
    """One of forge's by the issuer itself, dated as `list_of` does it."""
    whole = ocsp.OCSPResponse.load(forge.answer_of(issuer, issuer, certificate, reason))
    basic = whole["response_bytes"]["response"].parsed
    data = basic["tbs_response_data"]
    said = data["responses"][0]
    data["produced_at"] = NOW - (made if produced is None else produced)
    said["this_update"] = NOW - made
    said["next_update"] = NOW + until
    if reason:
        said["cert_status"].chosen["revocation_time"] = NOW - since
    basic["signature"] = issuer.key.sign(data.dump(force=True))
    whole["response_bytes"]["response"] = ocsp.BasicOCSPResponse.load(basic.dump(force=True))
    return whole.dump(force=True)


def before(other, make):
    """One that is tried before the other: what is equally likely goes by its digest."""
    while True:
        made = make()
        if hashlib.sha256(made.der).digest() < hashlib.sha256(other.der).digest():
            return made


class FetchedTest(TokenTest):
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

    def naming_issuers(self, *pages):
        where = [x509.GeneralName("uniform_resource_identifier", self.url + page) for page in pages]
        return {"extn_id": "authority_information_access", "critical": False,
                "extn_value": [{"access_method": "ca_issuers", "access_location": one} for one in where]}

    def leaves_open(self, token, *options):
        self.expect(self.verify(token, *options), UNREACHABLE, "indeterminate")

    def leaves_hold_open(self, token, *options):
        self.expect(self.verify(token, *options), UNREACHABLE, "on hold since", "can't be told", "judge later")

    def stamp_of(self, signer, *above, lists=()):
        return self.with_parts(None, [one.der for one in above], lists, signer)


class FetchedRevocation(FetchedTest):
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

    def test_a_hold_that_was_seen_lifted_stays_lifted(self):
        stamp = self.stamp_of(self.signer, self.ca)
        for extensions in ((), [scope(only_contains_user_certs=True)]):
            self.begin("ca.crl", list_of(self.ca, (self.signer, "certificate_hold")))
            self.refuses(stamp, REVOKED)
            self.publish("ca.crl", list_of(self.ca, made=HOUR, extensions=extensions))
            for options in ((), (), ("--offline",)):
                with self.subTest(other_scope=bool(extensions), options=options):
                    self.passes(stamp, *options)
        lister = self.authority_named("ca", self.root, "root.crl")
        self.begin("ca.crl", list_of(lister, (self.signer, "certificate_hold")))
        self.refuses(self.stamp_of(self.signer, self.ca, lister), REVOKED)
        self.publish("ca.crl", list_of(self.ca, made=HOUR))
        self.passes(stamp)  # without the certificate of who had told the hold
        self.begin("ca.crl", list_of(lister, (self.signer, "certificate_hold")))
        self.refuses(self.stamp_of(self.signer, self.ca, lister), REVOKED)
        self.publish("ca.crl", list_of(lister, made=HOUR))
        self.passes(self.stamp_of(self.signer, self.ca, lister))
        self.server.pages.clear()
        self.passes(stamp, *AVAILABLE)

    def test_a_hold_that_has_run_out_is_lifted_by_nothing_older(self):
        asking = forge.issue(self.folder, "asking", self.ca, ocsp_url=self.url + "ocsp")
        held = answer_of(self.ca, asking, "certificate_hold", made=2 * HOUR, until=-HOUR)
        older, newer = (list_of(self.ca, made=made) for made in (forge.days(3), HOUR))
        again, lifted = (answer_of(self.ca, asking, why, made=HOUR / 2) for why in ("certificate_hold", None))
        responder = forge.issue(self.folder, "responder", self.ca, usage=("ocsp_signing",), extra_extensions=[NO_CHECK])
        silenced = answer_of(self.ca, responder, "certificate_hold", made=2 * HOUR, until=-HOUR)
        lie = forge.answer_of(responder, self.ca, asking)
        stolen = answer_of(self.ca, asking, "key_compromise", made=HOUR)
        for name, answers, served, lists, options, judge in (
                ("told again", [held], again, [older], (), self.refused),
                ("lifted", [held], lifted, [older], (), self.passes),
                ("lifted by a list", [held], b"", [older, newer], (), self.passes),
                ("not told", [held], b"", [older], (), self.leaves_hold_open),
                ("not asked", [held], again, [older], ("--offline",), self.leaves_hold_open),
                ("alone", [held], b"", [], (), self.leaves_hold_open),
                ("a responder's", [silenced, lie], stolen, [], (), self.refused)):
            for mode in ((), AVAILABLE):
                self.begin("ocsp", served)
                with self.subTest(name, mode=mode):
                    stamp = self.stamp_of(asking, self.ca,
                                          lists=[self.root_list, *map(forge.among_lists, answers), *lists])
                    judge(stamp, *mode, *options)

    def test_what_revokes_for_good_is_kept_whatever_was_kept_before(self):
        """What was kept was good half an hour ago and has run out; what revokes has another scope, or is no newer."""
        asking = forge.issue(self.folder, "asking", self.ca, ocsp_url=self.url + "ocsp")
        neighbour, taken = [(forge.issue(self.folder, "neighbour", self.ca), "superseded")], (self.signer, "key_compromise")
        users = {"extensions": [scope(only_contains_user_certs=True)]}
        identified = {"extensions": [{"extn_id": "authority_key_identifier", "critical": False,
                                      "extn_value": {"key_identifier": self.ca.key.spki.sha1}}]}
        then = (NOW - HOUR / 2).strftime("%Y-%m-%dT%H:%M:%SZ")
        same = {"made": 2 * HOUR, "until": -HOUR / 60}
        newer = {"made": HOUR / 4, "number": 2}
        for name, others, kept, revoking in (
                ("for users alone", neighbour, {}, {**newer, **users}),
                ("for all", neighbour, users, newer),
                ("with the key's name", neighbour, {}, {**newer, **identified}),
                ("of the same second", neighbour, {}, same),
                ("older, in force", [], {}, {"made": 3 * HOUR}),
                ("answer, older", None, {}, {"made": 2 * HOUR + HOUR / 60}),
                ("answer of the same second", None, {}, same)):
            if others is None:
                page, stamp = "ocsp", self.stamp_of(asking, self.ca)
                first, second = answer_of(self.ca, asking, **same), answer_of(self.ca, asking, "key_compromise", **revoking)
            else:
                page, stamp = "ca.crl", self.stamp_of(self.signer, self.ca)
                first, second = list_of(self.ca, *others, **same, **kept), list_of(self.ca, *others, taken, **revoking)
            self.begin(page, first)
            self.passes(stamp, "--at", then)
            self.publish(page, second)
            self.refuses(stamp, REVOKED)
            self.publish(page, first)
            for source in ("as it was", "gone"):
                for options in (AVAILABLE, (*AVAILABLE, "--offline")):
                    with self.subTest(name, source=source, options=options):
                        self.refuses(stamp, REVOKED, *options)
                self.server.pages.clear()

    def test_nothing_of_the_future_is_kept(self):
        """A thief of the signer's key would make it so that nothing is newer for years."""
        asking = forge.issue(self.folder, "asking", self.ca, ocsp_url=self.url + "ocsp")
        far = {"made": -forge.days(3000), "until": forge.days(3300)}
        later = {**far, "reason": "superseded", "since": -forge.days(3000)}
        honest = {"ocsp": answer_of(self.ca, asking, "key_compromise", made=HOUR),
                  "ca.crl": list_of(self.ca, (self.signer, "key_compromise"), made=HOUR)}
        for name, page, signer, future in (
                ("answer", "ocsp", asking, answer_of(self.ca, asking, **later)),
                ("answer, made today", "ocsp", asking, answer_of(self.ca, asking, **later, produced=HOUR)),
                ("list", "ca.crl", self.signer, list_of(self.ca, (self.signer, "certificate_hold"), **far))):
            with self.subTest(name):
                stamp = self.stamp_of(signer, self.ca)
                self.begin(page, future)
                self.cannot_tell(stamp)
                self.publish(page, honest[page])
                self.refuses(stamp, REVOKED)
                self.server.pages.clear()
                self.refuses(stamp, REVOKED, *AVAILABLE, "--offline")

    def test_a_theft_gives_way_to_nothing_lesser(self):
        """The responder that told of it has ended since; another one's key was stolen, too, and says less."""
        ends = forge.now() + datetime.timedelta(seconds=2)
        said, later = (forge.issue(self.folder, name, self.ca, usage=("ocsp_signing",), extra_extensions=[NO_CHECK], end=end)
                       for name, end in (("said", ends), ("later", None)))
        asking = forge.issue(self.folder, "asking", self.ca, ocsp_url=self.url + "ocsp")
        self.info = forge.tst_info(DIGEST, time=NOW - forge.days(4))  # before anything was taken back
        stamp = self.stamp_of(asking, self.ca)
        self.begin("ocsp", forge.answer_of(said, self.ca, asking, "key_compromise", 3 * HOUR))
        self.refuses(stamp, REVOKED)
        while forge.now() <= ends:
            time.sleep(0.1)
        for reason, made in ((None, 2 * HOUR), ("superseded", HOUR), (None, HOUR / 2)):
            self.publish("ocsp", forge.answer_of(later, self.ca, asking, reason, made))
            for options in ((), AVAILABLE, (*AVAILABLE, "--offline")):
                with self.subTest(says=reason, options=options):
                    self.assertIn(self.verify(stamp, *options).returncode, (REFUSED, UNREACHABLE))

    def test_what_nobody_signed_of_an_answer_is_not_kept(self):
        """It could push out all that is kept; but it makes no revocation forgotten."""
        asking = forge.issue(self.folder, "asking", self.ca, ocsp_url=self.url + "ocsp")
        for octets, reason, online, offline in ((1000, None, GOOD, GOOD), (300_000, None, GOOD, UNREACHABLE),
                                                (300_000, "key_compromise", REFUSED, REFUSED)):
            answer = ocsp.OCSPResponse.load(answer_of(self.ca, asking, reason, made=HOUR))
            basic = answer["response_bytes"]["response"].parsed
            parts = b"".join(basic[part].dump() for part in ("tbs_response_data", "signature_algorithm", "signature"))
            junk = forge.element(0x30, forge.element(0x04, bytes(octets)))
            whole = forge.element(0x30, parts + forge.element(0xA0, forge.element(0x30, junk)))
            self.begin("ocsp", forge.element(0x30, b"\x0a\x01\0" + forge.element(0xA0, forge.element(
                0x30, core.ObjectIdentifier("1.3.6.1.5.5.7.48.1.1").dump() + forge.element(4, whole)))))
            stamp = self.stamp_of(asking, self.ca)
            with self.subTest(octets=octets, reason=reason):
                self.expect(self.verify(stamp), online)
                self.expect(self.verify(stamp, "--offline"), offline)

    def test_made_up_authorities_keep_nobody_from_fetching_the_right_one(self):
        """In its name and with its key, which anybody knows."""
        self.workspace.configure('[config.network]\nFetchIssuers = "anywhere"\n')
        self.addCleanup(self.workspace.configure, "")
        naming = self.naming_issuers
        signer = forge.issue(self.folder, "signer", self.ca, crl_url=self.url + "ca.crl",
                             extra_extensions=[naming("ca.cer")])
        four = naming("0", "1", "2", "3")
        side = forge.issue(self.folder, "side", self.root, ca=True, usage=("server_auth",))
        def made_up(issuer, *named):
            return forge.issue(self.folder, "ca", issuer, ca=True, usage=None, key=self.ca.key, extra_extensions=named)
        def posing_as(authority):
            return forge.Identity(authority.certificate, forge.Key(self.folder))
        for name, above in (("nothing", []), ("self-named", [made_up(posing_as(self.ca))]),
                            ("of the root", [made_up(posing_as(self.root))]),
                            ("of nobody", [made_up(forge.issue(self.folder, "nobody", ca=True))]),
                            ("for other uses", [made_up(side), side]),
                            ("with addresses", [made_up(posing_as(self.root), four)])):
            with self.subTest(name):
                self.begin("ca.crl", list_of(self.ca))
                self.publish("ca.cer", self.ca.der)
                self.passes(self.stamp_of(signer, *above))

    def test_what_is_fetched_for_a_neighbour_pushes_nothing_out(self):
        """Nor does a later whole list that doesn't have the entry any more."""
        neighbour = forge.issue(self.folder, "neighbour", self.ca, crl_url=self.url + "ca.crl")
        stamp, asked = self.stamp_of(self.signer, self.ca), self.stamp_of(neighbour, self.ca)
        identified = {"extn_id": "authority_key_identifier", "critical": False,
                      "extn_value": {"key_identifier": self.ca.key.spki.sha1}}
        users = scope(only_contains_user_certs=True)
        scopes = [[identified], [users], [identified, users], [scope(only_some_reasons={"superseded"})],
                  [scope(only_some_reasons={"certificate_hold"})]]
        other = (forge.issue(self.folder, "other", self.ca), "superseded")
        for name, later, taken in (("five scopes", scopes, other), ("without the entry", [()], other),
                                   ("that revokes the neighbour", [()], (neighbour, "key_compromise"))):
            self.begin("ca.crl", list_of(self.ca, (self.signer, "key_compromise"), made=HOUR, until=-HOUR * 0.95, number=2))
            self.refuses(stamp, REVOKED)
            for i, extensions in enumerate(later):  # as of when it was in force, and the ones before weren't any more
                ago = datetime.timedelta(minutes=50 - 10 * i)
                self.publish("ca.crl", list_of(self.ca, taken, made=ago + HOUR / 12, until=-ago + HOUR / 15, number=3 + i,
                                               extensions=extensions))
                self.verify(asked, "--at", (NOW - ago).strftime("%Y-%m-%dT%H:%M:%SZ"))
            self.publish("ca.crl", list_of(self.ca, made=forge.days(2)))
            for options in ((), AVAILABLE, ("--offline",)):
                with self.subTest(name, options=options):
                    self.refuses(stamp, REVOKED, *options)

    def test_lists_by_other_keys_push_out_no_hold(self):
        """They come for a neighbour's sake, whose own hold keeps having the address asked; anybody may answer there."""
        *others, another = (self.authority_named("ca", self.root, "root.crl") for _ in range(5))
        neighbour = forge.issue(self.folder, "neighbour", self.ca, crl_url=self.url + "ca.crl")
        lister, relister = (self.authority_named("lister", self.root, "root.crl") for _ in range(2))
        (listed, list_for_all), (_, list_again_for_all) = (self.listed_by(one, self.ca) for one in (lister, relister))
        listed_neighbour, _ = self.listed_by(lister, self.ca)
        def by(*keys):
            return [functools.partial(list_of, key) for key in keys]
        taken = (others[0], "superseded")
        here, there = ("ca.crl", self.signer, neighbour), ("all.crl", listed, listed_neighbour)
        for name, (page, signer, asked), own, teller, later, revoked, above in (
                ("editions", here, *by(self.ca), None, by(*others[:1] * 4), [taken], others),
                ("keys", here, *by(self.ca), None, by(*others), [taken], others),
                ("keys, by another", here, *by(another), another, by(*others), [], others),
                ("indirect", there, list_for_all, lister, [list_again_for_all] * 4, [taken], [relister])):
            above = [*above, *([teller] if teller else [])]
            stamp = self.stamp_of(signer, self.ca, *above)
            held = forge.among_lists(answer_of(self.ca, asked, "certificate_hold", made=HOUR))
            for options in ((), AVAILABLE):
                self.begin(page, own((signer, "certificate_hold"), made=2 * HOUR))
                with self.subTest(name, options=options):
                    self.refuses(stamp, REVOKED, *options)
                    for i, make in enumerate(later):
                        self.publish(page, make(*revoked, made=HOUR - i * HOUR / 12, number=9 + i))
                        self.verify(self.stamp_of(asked, self.ca, *above, lists=[held]))
                    self.leaves_hold_open(stamp, *options)
                    if teller:
                        self.leaves_open(self.stamp_of(signer, self.ca, *above[:-1]), *options)

    def test_another_certificate_of_an_authority_is_asked_for(self):
        """One that isn't right comes along, or was fetched for an older stamp: the right one lies where its signers say."""
        self.workspace.configure('[config.network]\nFetchIssuers = "anywhere"\n')
        self.addCleanup(self.workspace.configure, "")
        key, day = forge.Key(self.folder), forge.days(1)

        def ca(issuer=self.root, **more):
            return forge.issue(self.folder, "renewed", issuer, ca=True, usage=None, key=key, crl_url=self.url + "root.crl",
                               **more)
        right, ended = ca(begin=NOW - 12 * day), ca(begin=NOW - 90 * day, end=NOW - 10 * day)
        later, superseded = ca(begin=NOW - HOUR), ca()
        elsewhere = [{"base": x509.GeneralName("directory_name", forge.name_of("elsewhere"))}]
        narrow = self.authority_named("narrow", self.root, "root.crl", extra_extensions=[
            {"extn_id": "name_constraints", "critical": True, "extn_value": {"permitted_subtrees": elsewhere}}])
        signer = forge.issue(self.folder, "signer", right, crl_url=self.url + "renewed.crl",
                             extra_extensions=[self.naming_issuers("ca.cer")])

        def begin(published):
            self.begin("renewed.crl", list_of(right))
            self.publish("root.crl", list_of(self.root, (superseded, "superseded")))
            self.publish("ca.cer", published.der)
        unheard = forge.issue(self.folder, "renewed", self.root, ca=True, usage=None, key=key, crl_url=self.url + "gone.crl")
        for name, beside in (("ended", [ended]), ("not begun", [later]), ("superseded", [superseded]),
                             ("its list is gone", [unheard]), ("for other names", [ca(narrow), narrow])):
            for options in ((), AVAILABLE):
                begin(right)
                with self.subTest(name, options=options):
                    self.passes(self.stamp_of(signer, *beside), *options)
        lower = forge.issue(self.folder, "lower", right, ca=True, usage=None, crl_url=self.url + "renewed.crl",
                            extra_extensions=[self.naming_issuers("ca.cer")])
        low_ended = forge.issue(self.folder, "lower", self.root, ca=True, usage=None, key=lower.key, end=NOW - 10 * day)
        low_signer = forge.issue(self.folder, "signer", lower, crl_url=self.url + "lower.crl",
                                 extra_extensions=[self.naming_issuers("lower.cer")])
        for name, beside in (("two are lacking", [low_ended]), ("the upper one is lacking", [lower, low_ended])):
            begin(right)
            self.publish("lower.crl", list_of(lower))
            self.publish("lower.cer", lower.der)
            with self.subTest(name):
                self.passes(self.stamp_of(low_signer, *beside))
        stamp = self.stamp_of(signer)
        self.info = forge.tst_info(DIGEST, time=NOW - 11 * day)
        for name, published, of in (("renewed since", ended, self.stamp_of(signer)), ("not right", ended, stamp),
                                    ("taken back", superseded, stamp)):
            begin(published)
            self.verify(of, "--revocation", "off" if of is not stamp else "require")
            self.publish("ca.cer", right.der)
            with self.subTest(name):
                self.passes(stamp)

    def test_a_made_up_certificate_takes_nobodys_turn(self):
        """In an authority's name and with its key; it names four addresses. Nor do several of them, where the authority's
        own certificate was fetched."""
        self.workspace.configure('[config.network]\nFetchIssuers = "anywhere"\n')
        self.addCleanup(self.workspace.configure, "")
        middle = self.authority_named("middle", self.root, "root.crl")
        ca = self.authority_named("lower", middle, "middle.crl", extra_extensions=[self.naming_issuers("middle.cer")])
        signer = forge.issue(self.folder, "signer", ca, crl_url=self.url + "lower.crl",
                             extra_extensions=[self.naming_issuers("lower.cer")])
        nobody = forge.Identity(self.root.certificate, forge.Key(self.folder))
        def made_up(*pages):
            return before(ca, lambda: forge.issue(self.folder, "lower", nobody, ca=True, usage=None, key=ca.key,
                                                  extra_extensions=[self.naming_issuers(*pages)]))
        for above in ([made_up("0", "1", "2", "3"), ca], [made_up(str(i)) for i in range(5)]):
            self.begin("lower.crl", list_of(ca))
            self.publish("middle.crl", list_of(middle))
            self.publish("middle.cer", middle.der)
            self.publish("lower.cer", ca.der)
            with self.subTest(made_up=len(above)):
                self.passes(self.stamp_of(signer, *above))

    def listed_by(self, lister, ca):
        """A stamper of the authority that names somebody else's list, and what makes that list."""
        of_lister, of_ca = ([x509.GeneralName("directory_name", one.name)] for one in (lister, ca))
        where = x509.DistributionPointName(
            "full_name", [x509.GeneralName("uniform_resource_identifier", self.url + "all.crl")])
        signer = forge.issue(self.folder, "signer", ca, extra_extensions=[
            {"extn_id": "crl_distribution_points", "critical": False,
             "extn_value": [{"distribution_point": where, "crl_issuer": of_lister}]}])
        named = {"extn_id": "certificate_issuer", "critical": True, "extn_value": of_ca}

        def list_for_all(*revoked, **more):
            point = scope(distribution_point=where, indirect_crl=True)
            content = crl.CertificateList.load(list_of(lister, *revoked, extensions=[point], **more))["tbs_cert_list"]
            for entry in content["revoked_certificates"]:
                entry["crl_entry_extensions"] = [*entry["crl_entry_extensions"], named]
            signed = content.dump(force=True)
            return forge.element(0x30, signed + content["signature"].dump() +
                                 forge.element(3, b"\0" + lister.key.sign(signed)))
        return signer, list_for_all

    def test_whose_certificate_does_not_tell_its_use_makes_nothing_good_by_a_list(self):
        """Nor is its word that somebody was taken back passed over."""
        content = x509.Certificate.load(forge.issue(self.folder, "lister", self.root, crl_url=self.url + "root.crl").der)
        tbs = content["tbs_certificate"]
        tbs["extensions"] = [one for one in tbs["extensions"] if one["extn_id"].native in ("crl_distribution_points",)]
        key = forge.Key(self.folder)
        tbs["subject_public_key_info"] = key.spki
        content["signature_value"] = self.root.key.sign(tbs.dump(force=True))
        lister = forge.Identity(x509.Certificate.load(content.dump(force=True)), key)
        signer, list_for_all = self.listed_by(lister, self.ca)
        for revoked in ((), ((signer, "key_compromise"),)):
            for options, judge in (((), self.leaves_open if revoked else self.cannot_tell),
                                   (AVAILABLE, self.leaves_open if revoked else self.passes)):
                self.begin("all.crl", list_for_all(*revoked))
                with self.subTest(revoked=bool(revoked), options=options):
                    judge(self.stamp_of(signer, self.ca, lister), *options)

    def test_a_root_without_extensions_may_sign_lists_for_those_below(self):
        """Of version 1, as old ones are; its list is for several issuers."""
        key, name = forge.Key(self.folder), forge.name_of("old root")
        algorithm = {"algorithm": "sha256_ecdsa"}
        tbs = x509.TbsCertificate({
            "version": "v1", "serial_number": 1, "signature": algorithm, "issuer": name, "subject": name,
            "validity": {"not_before": x509.Time({"utc_time": NOW - forge.days(90)}),
                         "not_after": x509.Time({"utc_time": NOW + forge.days(90)})}, "subject_public_key_info": key.spki})
        root = forge.Identity(x509.Certificate.load(x509.Certificate({
            "tbs_certificate": tbs, "signature_algorithm": algorithm, "signature_value": key.sign(tbs.dump())}).dump()), key)
        ca = self.authority_named("below", root, "own.crl")
        signer, list_for_all = self.listed_by(root, ca)
        roots = root.write_pem(self.folder / "old.pem")
        stamp = self.workspace.write("stamp", self.stamp_of(signer, ca))
        for revoked, status in (((), GOOD), (((signer, "key_compromise"),), REFUSED)):
            self.begin("all.crl", list_for_all(*revoked))
            self.publish("own.crl", list_of(root))
            for options in ((), AVAILABLE, AVAILABLE):
                with self.subTest(revoked=bool(revoked), options=options):
                    self.expect(self.workspace.run("verify", stamp, "--data", self.data, "--roots", roots, *options), status)

    def test_large_answers_take_little_memory(self):
        """As large as is fetched, from four addresses for each of two certificates: nobody signed them, or an authority did,
        long ago."""
        def naming(pages, kind):
            where = [x509.GeneralName("uniform_resource_identifier", self.url + page) for page in pages]
            if kind == "ocsp":
                return {"extn_id": "authority_information_access", "critical": False,
                        "extn_value": [{"access_method": "ocsp", "access_location": one} for one in where]}
            return {"extn_id": "crl_distribution_points", "critical": False, "extn_value": [
                {"distribution_point": x509.DistributionPointName("full_name", [one])} for one in where]}

        def filled(size, whole, part):
            """`whole(count)`, with as many as fit."""
            return whole((size - len(whole(0)) - 64) // len(part))  # the lengths grow, too

        element, size = forge.element, 4 << 20
        entry = element(0x30, b"\x02\x04\x01\x02\x03\x04" + element(0x17, b"200101000000Z"))
        extension = element(0x30, b"\x06\x01\x2a\x04\x00")

        def big_list(issuer, signs=False):
            tbs = crl.CertificateList.load(list_of(issuer, until=-HOUR))["tbs_cert_list"]
            head = b"".join(tbs[field].dump() for field in ("version", "signature", "issuer", "this_update", "next_update"))

            def whole(count):
                content = element(0x30, head + element(0x30, entry * count))
                signature = issuer.key.sign(content) if signs else bytes(72)
                return element(0x30, content + tbs["signature"].dump() + element(3, b"\0" + signature))
            return filled(size, whole, entry)

        def big_answer(issuer, certificate):
            basic = ocsp.OCSPResponse.load(answer_of(issuer, certificate, made=HOUR))["response_bytes"]["response"].parsed
            data = basic["tbs_response_data"]
            single = data["responses"][0]
            said = b"".join(single[field].dump() for field in ("cert_id", "cert_status", "this_update"))

            def whole(count):
                singles = element(0x30, element(0x30, said + element(0xA1, element(0x30, extension * count))))
                content = element(0x30, data["responder_id"].dump() + data["produced_at"].dump() + singles)
                octets = element(0x30, content + basic["signature_algorithm"].dump() + element(3, b"\0junk"))
                return element(0x30, b"\x0a\x01\0" + element(0xA0, element(
                    0x30, core.ObjectIdentifier("1.3.6.1.5.5.7.48.1.1").dump() + element(4, octets))))
            return filled(size, whole, extension)

        for kind in ("list", "ocsp", "signed"):
            lower, upper = ([f"{kind} {i}".replace(" ", "-") for i in places] for places in (range(4), range(4, 8)))
            ca = forge.issue(self.folder, "ca", self.root, ca=True, usage=None, extra_extensions=[naming(upper, kind)])
            signer = forge.issue(self.folder, "signer", ca, extra_extensions=[naming(lower, kind)])
            self.begin("", b"")
            for pages, issuer, one in ((lower, ca, signer), (upper, self.root, ca)):
                for page in pages:
                    self.publish(page, big_answer(issuer, one) if kind == "ocsp" else big_list(issuer, kind == "signed"))
            path = self.workspace.write("stamp", self.stamp_of(signer, ca))
            with self.subTest(kind):
                self.stays_small(90, UNREACHABLE, "verify", path, "--data", self.data, "--roots", self.roots)

    def test_what_is_too_large_to_be_read_is_no_silence(self):
        """What the authority says of others beside it doesn't hide that it takes the stamper back; nor that it says so at
        one address more than are asked."""
        filling = {"extn_id": "1.2.3.5", "critical": False, "extn_value": core.ParsableOctetString(bytes(1 << 16))}
        signer = forge.issue(self.folder, "signer", self.ca, crl_url=self.url + "ca.crl", ocsp_url=self.url + "ocsp")
        answer = ocsp.OCSPResponse.load(answer_of(self.ca, signer, "key_compromise", made=HOUR))
        basic = answer["response_bytes"]["response"].parsed
        basic["tbs_response_data"]["response_extensions"] = [filling]
        basic["signature"] = self.ca.key.sign(basic["tbs_response_data"].dump(force=True))
        answer["response_bytes"]["response"] = ocsp.BasicOCSPResponse.load(basic.dump(force=True))
        revoking = list_of(self.ca, (signer, "key_compromise"), extensions=[filling])
        points = [{"distribution_point": x509.DistributionPointName(
            "full_name", [x509.GeneralName("uniform_resource_identifier", f"{self.url}{i}.crl")])} for i in range(5)]
        everywhere = forge.issue(self.folder, "everywhere", self.ca, extra_extensions=[
            {"extn_id": "crl_distribution_points", "critical": False, "extn_value": points}])
        for name, pages, is_told in (("list", {"ca.crl": revoking}, False),
                                     ("answer", {"ocsp": answer.dump(force=True)}, False),
                                     ("over four mebibytes", {"ca.crl": bytes((4 << 20) + 1)}, False),
                                     ("another source tells",
                                      {"ocsp": answer.dump(force=True), "ca.crl": list_of(self.ca)}, True)):
            self.begin("", b"")
            for page, content in pages.items():
                self.publish(page, content)
            for options in ((), AVAILABLE, AVAILABLE):
                with self.subTest(name, options=options):
                    (self.passes if is_told else self.cannot_tell)(self.stamp_of(signer, self.ca), *options)
        self.begin("4.crl", list_of(self.ca, (everywhere, "key_compromise")))
        other = self.authority_named("ca", self.root, "root.crl")
        for options in ((), AVAILABLE):
            for beside, lists in (((), ()), ((other,), (list_of(other),))):
                with self.subTest("fifth address", options=options, beside=len(beside)):
                    self.cannot_tell(self.stamp_of(everywhere, self.ca, *beside, lists=lists), *options)

    def test_the_list_of_an_authoritys_other_key_is_not_the_last_word(self):
        """It may be of what that key has issued alone; where the certificate's own sources tell nothing it may be of all."""
        other = self.authority_named("ca", self.root, "root.crl")
        below = self.authority_named("ca", self.authority_named("middle", self.root, "root.crl"), "root.crl")
        answered = forge.issue(self.folder, "answered", self.ca, ocsp_url=self.url + "ocsp")
        absent = forge.issue(self.folder, "ca", self.root, ca=True, usage=None)
        def by(authority, *revoked, number=9, **more):
            return list_of(authority, *revoked, number=number, **{"made": HOUR, **more})
        lister, relister = (self.authority_named("lister", self.root, "root.crl") for _ in range(2))
        (listed, list_for_all), (_, list_for_none) = (self.listed_by(one, self.ca) for one in (lister, relister))
        delta = {"extn_id": "delta_crl_indicator", "critical": True, "extn_value": 9}
        theft = "key_compromise"
        for options in ((), AVAILABLE):
            for name, signer, page, own, beside, judge in (
                    ("stolen", self.signer, "ca.crl", by(self.ca, (self.signer, theft)), by(other), self.refused),
                    ("told by an answer", answered, "ocsp", answer_of(self.ca, answered, theft, made=HOUR), by(other),
                     self.refused),
                    ("elsewhere", self.signer, "ca.crl", by(self.ca, (self.signer, theft)), by(below), self.refused),
                    ("not stolen", self.signer, "ca.crl", by(self.ca), by(other), self.passes),
                    ("not told", self.signer, "gone", b"", by(other), self.passes),
                    ("told at its place by the other", self.signer, "ca.crl", by(other), by(other), self.passes),
                    ("revoked by the other", self.signer, "ca.crl", by(self.ca), by(other, (self.signer, theft)),
                     self.refused),
                    ("on hold", self.signer, "ca.crl", by(self.ca, (self.signer, "certificate_hold"), made=2 * HOUR),
                     by(other), self.leaves_open),
                    ("on hold, with a namesake's delta", self.signer, "ca.crl",
                     by(self.ca, (self.signer, "certificate_hold")),
                     by(other, (self.signer, "remove_from_crl"), number=10, made=HOUR / 2, extensions=[delta]),
                     self.refused),
                    ("told by whom nobody knows", self.signer, "ca.crl", by(absent, (self.signer, theft)), by(other),
                     self.leaves_open),
                    ("told by whom nobody knows, and nothing", self.signer, "ca.crl", by(absent), by(other),
                     self.passes if options else self.leaves_open),
                    ("listed by somebody else", listed, "all.crl", list_for_all((listed, theft)), list_for_none(),
                     self.refused)):
                self.begin(page, own)
                above = [self.ca, other, below, lister, relister]
                stamp = self.stamp_of(signer, *above, lists=[beside])
                with self.subTest(name, options=options):
                    judge(stamp, *options)
                    judge(stamp, *options)

    def test_a_hold_that_a_strange_list_lifts_still_silences_a_responder(self):
        """Of whom nobody need be asked; the hold is at hand, and the stamper's source knows better."""
        other = self.authority_named("ca", self.root, "root.crl")
        responder = forge.issue(self.folder, "responder", self.ca, usage=("ocsp_signing",), crl_url=self.url + "1.crl",
                                extra_extensions=[NO_CHECK])
        asking = forge.issue(self.folder, "asking", self.ca, ocsp_url=self.url + "ocsp")
        where = [x509.GeneralName("uniform_resource_identifier", self.url + "1.crl")]
        held = list_of(self.ca, (responder, "certificate_hold"), extensions=[
            scope(distribution_point=x509.DistributionPointName("full_name", where))])
        lie = forge.among_lists(forge.answer_of(responder, self.ca, asking))
        for options in ((), AVAILABLE):
            for beside, lists in (((), ()), ((other,), (list_of(other, made=HOUR, number=2),))):
                self.begin("ocsp", answer_of(self.ca, asking, "key_compromise", made=HOUR))
                with self.subTest(options=options, strange=bool(beside)):
                    self.refused(self.stamp_of(asking, self.ca, *beside,
                                               lists=[held, lie, self.root_list, *lists]), *options)

    def test_a_strange_list_of_some_reasons_lifts_no_hold_either(self):
        """Then nobody tells of all reasons; which isn't to say that nothing is known."""
        other = self.authority_named("ca", self.root, "root.crl")
        some = [scope(only_some_reasons={"certificate_hold", "superseded"})]
        held = list_of(self.ca, (self.signer, "certificate_hold"), extensions=some)
        for options in ((), AVAILABLE):
            for beside, judge in (((), self.refused), ((other,), self.leaves_open)):
                lists = [list_of(one, made=HOUR, number=2, extensions=some) for one in beside]
                self.begin("ca.crl", held)
                for given, offline in (([], ()), ([held, self.root_list], ("--offline",))):
                    with self.subTest(options=options, strange=bool(beside), offline=offline):
                        judge(self.stamp_of(self.signer, self.ca, *beside, lists=[*given, *lists]), *options, *offline)

    def test_a_stranger_lifts_no_other_strangers_hold(self):
        """The first one's list is of all that the name has issued, and lies beside the stamp like the second one's."""
        first, second = (self.authority_named("ca", self.root, "root.crl") for _ in range(2))
        held = list_of(first, (self.signer, "certificate_hold"))
        for options in ((), AVAILABLE):
            for own in (b"", list_of(self.ca, made=forge.days(3))):
                for by, judge in ((None, self.refused), (second, self.leaves_hold_open), (first, self.passes)):
                    self.begin("ca.crl", own)
                    lists = [held, *([list_of(by, made=HOUR, number=2)] if by else [])]
                    for offline in ((), ("--offline",)):
                        with self.subTest(options=options, own=bool(own), lifted=by and by is first, offline=offline):
                            judge(self.stamp_of(self.signer, self.ca, first, second, lists=[self.root_list, *lists]),
                                  *options, *offline)

    def test_responders_who_speak_for_each_other_are_no_silence(self):
        """However many there are: one whom nobody looks at any more isn't one of whom nothing is known."""
        signer = forge.issue(self.folder, "answered", self.ca, ocsp_url=self.url + "ocsp")
        responders = [forge.issue(self.folder, f"responder {i}", self.ca, usage=("ocsp_signing",),
                                  ocsp_url=self.url + "ocsp") for i in range(6)]
        spoken_for = [signer, *responders]
        said = [forge.among_lists(forge.answer_of(by, self.ca, one)) for one, by in zip(spoken_for, responders)]
        for options in ((), AVAILABLE):
            for count in (4, 5, 6):
                self.begin("ocsp", answer_of(self.ca, signer, "key_compromise", made=HOUR))
                with self.subTest(options=options, count=count):
                    self.refused(self.stamp_of(signer, self.ca, lists=[*said[:count], self.root_list]), *options)

    def test_an_authority_may_go_on_with_a_new_key(self):
        """A hold that its old key told stays in doubt: the list of each key may be of what it has issued itself, and whoever
        answers at the certificate's own address chooses among them."""
        renewed = self.authority_named("ca", self.root, "root.crl")
        neighbour = forge.issue(self.folder, "neighbour", self.ca, crl_url=self.url + "ca.crl")
        stamp = self.stamp_of(self.signer, self.ca, renewed)
        for options in ((), AVAILABLE):
            self.begin("ca.crl", list_of(self.ca, (self.signer, "certificate_hold"), until=-HOUR / 60))
            self.leaves_hold_open(stamp, *options)
            for by, judge in ((renewed, self.leaves_hold_open), (self.ca, self.passes)):
                self.publish("ca.crl", list_of(by, made=HOUR, number=2))
                self.verify(self.stamp_of(neighbour, self.ca, renewed), *options)  # of whom nobody tells a hold
                with self.subTest(options=options, lifted_by_the_same=by is self.ca):
                    judge(stamp, *options)
                    judge(stamp, *options)
        newer = self.stamp_of(self.signer, self.ca, renewed, lists=[list_of(renewed, made=HOUR, number=2)])
        for held_by, judge in ((renewed, self.passes), (self.ca, self.leaves_open)):
            for options in ((), AVAILABLE):
                self.begin("ca.crl", list_of(held_by, (self.signer, "certificate_hold")))
                self.refused(stamp, *options)
                self.server.pages.pop("ca.crl")
                for offline in ((), ("--offline",)):
                    with self.subTest(lifted_by_the_same=held_by is renewed, options=options, offline=offline):
                        judge(newer, *options, *offline)

    def test_of_an_ended_certificate_its_own_source_needs_no_more_to_tell(self):
        """It serves a list by a key that came after the stamp, which holds what spoke of it then."""
        renewed, latest = (self.authority_named("ca", self.root, "root.crl") for _ in range(2))
        signer = forge.issue(self.folder, "ended", self.ca, crl_url=self.url + "ca.crl", end=NOW - HOUR)
        stamp = self.stamp_of(signer, self.ca, renewed, lists=[list_of(renewed, made=2 * HOUR), self.root_list])
        for options in ((), AVAILABLE, ("--offline",)):
            self.begin("ca.crl", list_of(latest, made=HOUR / 2))
            with self.subTest(options=options):
                self.passes(stamp, *options)

    def refused(self, stamp, *options):
        self.refuses(stamp, REVOKED, *options)

    def test_a_list_of_which_an_entry_is_not_understood_is_none(self):
        """Its entries are read once its signature was found to be good."""
        element, stamp = forge.element, self.stamp_of(self.signer, self.ca)
        other = forge.issue(self.folder, "other", self.ca)
        tbs = crl.CertificateList.load(list_of(self.ca))["tbs_cert_list"]
        head = b"".join(tbs[field].dump() for field in ("version", "signature", "issuer", "this_update", "next_update"))
        date = element(0x17, b"200101000000Z")

        def listing(*entries, more=b"", tag=b"\x30"):
            content = element(0x30, head + tag + element(0x30, b"".join(entries))[1:] + more)
            return element(0x30, content + tbs["signature"].dump() + element(3, b"\0" + self.ca.key.sign(content)))

        def entry(certificate, extension=b"", number=None):
            extensions = element(0x30, element(0x30, extension)) if extension else b""
            return element(0x30, (number or core.Integer(certificate.serial).dump()) + date + extensions)

        unknown, critical = b"\x06\x03\x2a\x03\x04", b"\x01\x01\xff"
        of_issuer = b"\x06\x03\x55\x1d\x1d" + critical
        another = of_issuer + element(4, element(0x30, element(0xA4, forge.name_of("another").dump())))
        many = element(0xA4, forge.name_of("another").dump()) * 1500
        padding = element(0xA0, element(0x30, element(0x30, unknown + element(4, bytes(70_000)))))
        for name, content, status in (
                ("nothing odd", listing(entry(other)), GOOD),
                ("unknown", listing(entry(other, unknown + b"\x04\x00")), GOOD),
                ("unknown, critical", listing(entry(other, unknown + critical + b"\x04\x00")), UNREACHABLE),
                ("about it, unknown, critical", listing(entry(self.signer, unknown + critical + b"\x04\x00")), UNREACHABLE),
                ("about it", listing(entry(other), entry(self.signer)), REFUSED),
                ("behind another issuer's", listing(entry(other, another), entry(self.signer)), GOOD),
                ("behind many others' names", listing(entry(other, of_issuer + element(4, element(0x30, many))),
                                                      *[entry(self.signer)] * 1500), GOOD),
                ("about it, of an issuer that can't be read",
                 listing(entry(other, another), entry(self.signer, of_issuer + b"\x04\x01\xff")), UNREACHABLE),
                ("its entries under a longer tag", listing(entry(self.signer), tag=b"\x3f\x10"), UNREACHABLE),
                ("no entry", listing(entry(other), b"\x04\x00"), UNREACHABLE),
                ("padded number", listing(entry(other, number=b"\x02\x02\x00\x01")), UNREACHABLE),
                ("much beside its entries", listing(entry(other), more=padding), UNREACHABLE)):
            self.begin("ca.crl", content)
            for options in ((), ("--offline",)):
                with self.subTest(name, options=options):
                    started = time.monotonic()
                    self.expect(self.verify(stamp, *options), status)
                    self.assertLess(time.monotonic() - started, 8, "seconds; the names are read once")
            if "about it" in name:
                with self.subTest(name, options=AVAILABLE):
                    self.expect(self.verify(stamp, *AVAILABLE), status)

    def test_neither_a_look_back_nor_a_newer_list_of_less_replaces_it(self):
        neighbour = forge.issue(self.folder, "neighbour", self.ca, crl_url=self.url + "ca.crl")
        stamp, asked = self.stamp_of(self.signer, self.ca), self.stamp_of(neighbour, self.ca)
        some = scope(only_some_reasons={"key_compromise", "superseded"})
        changes = {"extn_id": "delta_crl_indicator", "critical": True, "extn_value": 1}
        before = (NOW - 3 * HOUR).strftime("%Y-%m-%dT%H:%M:%SZ")
        for name, content, options, judge_hold in (
                ("older, as of then", list_of(self.ca, made=forge.days(3)), ("--at", before), self.leaves_hold_open),
                ("for some reasons", list_of(self.ca, made=forge.days(0), extensions=[some]), (), self.leaves_hold_open),
                ("changes alone", list_of(self.ca, made=forge.days(0), extensions=[changes], number=2), (), self.refused)):
            for reason, judge in (("key_compromise", self.refused), ("certificate_hold", judge_hold)):
                with self.subTest(name, reason=reason):
                    self.begin("ca.crl", list_of(self.ca, (self.signer, reason), made=HOUR, until=-HOUR / 60))
                    self.verify(stamp)
                    self.publish("ca.crl", content)
                    self.verify(asked, *options)
                    self.server.pages.clear()
                    judge(stamp, "--offline")

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
        other = self.authority_named("CA", self.root, "root.crl", key=self.ca.key)
        self.begin("ca.crl", content)
        self.refuses(self.stamp_of(self.signer, self.ca), REVOKED)
        self.refuses(self.stamp_of(self.signer, other), REVOKED, "--offline", *AVAILABLE)

    def test_judging_another_certificate_of_the_address_forgets_nothing(self):
        sub = self.authority_named("sub", self.ca, "ca.crl")
        lister = self.authority_named("ca", self.root, "root.crl")
        users_only = scope(only_contains_user_certs=True)
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

    def test_a_hold_silences_nobody_who_speaks_of_a_theft(self):
        """Whoever hands the stamp in chooses its lists: one with a hold, and not the one that lifted it."""
        thefts = forge.issue(self.folder, "thefts", self.root, ca=True, usage=None, crl_url=self.url + "root.crl")
        signer = forge.issue(self.folder, "signer", self.ca)
        stolen = forge.issue(self.folder, "stolen", thefts, key=signer.key)
        responder = forge.issue(self.folder, "responder", self.ca, usage=("ocsp_signing",), extra_extensions=[NO_CHECK])
        asking = forge.issue(self.folder, "asking", self.ca, ocsp_url=self.url + "ocsp")
        said = [list_of(self.ca), list_of(thefts, (stolen, "key_compromise"))]
        some = {"extensions": [scope(only_some_reasons={"certificate_hold", "superseded"})]}
        part, whole = (list_of(self.root, (thefts, "certificate_hold"), made=forge.days(2), **more) for more in (some, {}))
        held = list_of(self.ca, (responder, "certificate_hold"), made=forge.days(2), **some)
        for name, of, lists, options, statuses in (
                ("its issuer says nothing", signer, said, (), (REFUSED,)),
                ("on hold", signer, [*said, whole], (), (REFUSED, UNREACHABLE)),
                ("on hold, offline", signer, [*said, whole], ("--offline",), (UNREACHABLE,)),
                ("on hold, lifted", signer, [*said, whole, self.root_list], (), (REFUSED,)),
                ("on hold by a part", signer, [*said, part], (), (REFUSED,)),
                ("on hold by a part, lifted", signer, [*said, part, self.root_list], (), (REFUSED,)),
                ("on hold by a part, lifted, offline", signer, [*said, part, self.root_list], ("--offline",), (REFUSED,)),
                ("responder", asking, [], (), (REFUSED,)),
                ("responder, if available", asking, [], AVAILABLE, (REFUSED,)),
                ("responder on hold", asking, [held], (), (REFUSED, UNREACHABLE)),
                ("responder on hold, if available", asking, [held], AVAILABLE, (REFUSED, UNREACHABLE))):
            with self.subTest(name):
                self.begin("ocsp", forge.answer_of(responder, self.ca, asking, "key_compromise"))
                result = self.verify(self.stamp_of(of, self.ca, stolen, thefts, lists=lists), *options)
                self.assertIn(result.returncode, statuses, result.stderr)
                if result.returncode == UNREACHABLE and of is signer:
                    self.expect(result, UNREACHABLE, "somebody calls the key of", "compromised")

    def test_of_a_record_the_newest_stamp_is_judged_first(self):
        """What is fetched for its sake speaks of those that it renewed, too."""
        def day(count):
            return NOW - forge.days(count)
        ca = self.authority_named("years", self.root, "root.crl", begin=day(29))
        stolen, honest = (forge.issue(self.folder, name, ca, crl_url=self.url + "years.crl", begin=day(28))
                          for name in ("stolen", "honest"))
        said_then = [list_of(one, made=forge.days(12), until=-forge.days(5)) for one in (self.root, ca)]
        self.info = forge.tst_info(DIGEST, time=day(20))
        first = self.stamp_of(stolen, ca, lists=said_then)
        self.info = forge.tst_info(hashlib.sha256(first).digest(), time=day(8))
        chain = forge.element(0x30, b"".join(forge.element(0x30, one) for one in (first, self.stamp_of(honest, ca))))
        hashes = forge.element(0x30, algos.DigestAlgorithm({"algorithm": "sha256"}).dump())
        record = self.workspace.write("record.ers", forge.element(
            0x30, core.Integer(1).dump() + hashes + forge.element(0x30, chain)))
        for lists, status in (((), GOOD), (((stolen, "key_compromise"),), REFUSED)):
            self.begin("years.crl", list_of(ca, *lists, since=forge.days(10)))
            self.expect(self.workspace.run("verify", record, "--data", self.data, "--roots", self.roots), status)

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
