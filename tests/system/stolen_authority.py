"""Whose key was stolen can't have the stamps of others pass or fail: neither by certificates and lists of his own making
beside a stamp, nor by what is kept of those, once he was taken back. He stood under the trusted root and could do all."""

import datetime
import time

import forge
import program
from asn1crypto import x509
from fetched_revocation import AVAILABLE, HOUR, NOW, REVOKED, FetchedTest, before, list_of, scope
from hostile_tokens import DIGEST


class StolenAuthority(FetchedTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.middle = cls.authority_named("middle", cls.root, "root.crl")
        cls.low = cls.authority_named("low", cls.middle, "middle.crl")
        cls.stamper = forge.issue(cls.folder, "stamper", cls.low, crl_url=cls.url + "low.crl")
        cls.thief = cls.authority_named("thief", cls.root, "root.crl")
        cls.ended = cls.authority_named("ended", cls.root, "root.crl", begin=NOW - forge.days(90), end=NOW - HOUR)
        cls.root_list = list_of(cls.root, (cls.thief, "key_compromise"))

    def begin(self, page, content):
        super().begin(page, content)
        self.publish("middle.crl", list_of(self.middle))
        self.info = forge.tst_info(DIGEST, time=NOW - datetime.timedelta(hours=5))

    def is_revoked(self, stamp, *options):
        self.refuses(stamp, REVOKED, *options)

    def way_up(self, thief):
        """By which the stamper's issuer has another one above it, and its namesake: on that way, or beside it."""
        namesake = forge.issue(self.folder, "low", thief, ca=True, usage=None)
        def cross(issuer):
            return before(self.middle, lambda: forge.issue(self.folder, "middle", issuer, ca=True, usage=None,
                                                           key=self.middle.key))
        return namesake, {"on the way": [cross(namesake), namesake, thief], "beside it": [cross(thief), namesake, thief]}

    def test_his_way_up_tells_nothing_of_another(self):
        taken = (self.stamper, "key_compromise")
        for thief in (self.thief, self.ended):
            namesake, ways = self.way_up(thief)
            for name, way in ways.items():
                for honest, false, judge in ((list_of(self.low, taken), list_of(namesake), self.is_revoked),
                                             (list_of(self.low), list_of(namesake, taken), self.passes)):
                    stamp = self.stamp_of(self.stamper, self.low, self.middle, *way,
                                          lists=[false, list_of(thief), self.root_list, list_of(self.middle)])
                    for options in ((), AVAILABLE):
                        self.begin("low.crl", honest)
                        for again in (False, True):
                            with self.subTest(name, of=thief.name.native["common_name"], options=options, again=again):
                                judge(stamp, *options)

    def test_what_he_signed_takes_no_place_in_the_cache(self):
        neighbour = forge.issue(self.folder, "neighbour", self.low, crl_url=self.url + "low.crl")
        namesake, ways = self.way_up(self.thief)
        swallows = self.stamp_of(neighbour, self.low, self.middle, *ways["on the way"])
        for options in ((), AVAILABLE):
            soon = forge.now() - NOW + datetime.timedelta(seconds=3)
            self.begin("low.crl", list_of(self.low, (self.stamper, "key_compromise"), until=soon, number=2))
            self.publish("root.crl", list_of(self.root, until=soon))
            self.passes(self.stamp_of(neighbour, self.low, self.middle))
            while forge.now() <= NOW + soon:
                time.sleep(0.1)
            self.publish("low.crl", list_of(namesake, number=3))
            self.server.pages.pop("root.crl")
            self.verify(swallows, *options)
            self.publish("root.crl", self.root_list)
            self.publish("low.crl", list_of(self.low, made=forge.days(2)))
            with self.subTest(options=options):
                self.is_revoked(self.stamp_of(self.stamper, self.low, self.middle), *options)

    def test_nobody_is_accused_before_the_accuser_was_asked_about(self):
        """Of another certificate of the stamper's key; that the accuser was taken back its own list tells, or no list that
        the stamp needs does."""
        apart = forge.issue(self.folder, "apart", self.middle, ca=True, usage=None, crl_url=self.url + "apart.crl")
        for thief, taken_back in ((self.thief, {}), (apart, {"apart.crl": list_of(self.middle, (apart, "key_compromise"))})):
            again = forge.issue(self.folder, "again", thief, key=self.stamper.key)
            accused = self.stamp_of(self.stamper, self.low, self.middle, again, thief,
                                    lists=[list_of(thief, (again, "key_compromise"))])
            for options in ((), AVAILABLE):
                for is_thief in (True, False):
                    self.begin("low.crl", list_of(self.low))
                    self.publish("root.crl", self.root_list if is_thief else list_of(self.root))
                    for page, content in taken_back.items():
                        self.publish(page, content if is_thief else list_of(self.middle))
                    with self.subTest(thief.name.native["common_name"], options=options, is_thief=is_thief):
                        (self.passes if is_thief else self.is_revoked)(accused, *options)

    def test_an_accuser_of_whom_nobody_tells_leaves_it_open(self):
        aside = forge.issue(self.folder, "aside", self.root, ca=True, usage=None)
        accuser = self.authority_named("accuser", aside, "aside.crl")
        again = forge.issue(self.folder, "again", accuser, key=self.stamper.key)
        accused = self.stamp_of(self.stamper, self.low, self.middle, again, accuser, aside, lists=[
            list_of(accuser, (again, "key_compromise")), list_of(self.root), list_of(self.middle), list_of(self.low)])
        for options, judge in (((), self.cannot_tell), (AVAILABLE, self.is_revoked)):
            for where in ((), ("--offline",)):
                self.begin("", b"")
                with self.subTest(options=options, where=where):
                    judge(accused, *options, *where)
        told = self.verify(accused)
        self.expect(told, program.UNREACHABLE, "somebody calls the key of", "compromised", self.url + "aside.crl")
        self.assertNotIn(b"be reached", told.stderr)
        self.publish("aside.crl", list_of(aside))
        self.is_revoked(accused)

    def test_an_accused_authority_may_have_another_certificate(self):
        """Under another root, where it is asked for; where the accusation is confirmed, too."""
        self.workspace.configure('[config.network]\nFetchIssuers = "anywhere"\n')
        self.addCleanup(self.workspace.configure, "")
        other = forge.issue(self.folder, "other root", ca=True, usage=None)
        issuer = self.authority_named("accused", self.root, "root.crl")
        above = forge.issue(self.folder, "accused", other, ca=True, usage=None, key=issuer.key,
                            crl_url=self.url + "other.crl")
        accuser = self.authority_named("accuser", self.root, "aside.crl")
        again = forge.issue(self.folder, "again", accuser, ca=True, usage=None, key=issuer.key)
        signer = forge.issue(self.folder, "signer", issuer, crl_url=self.url + "accused.crl",
                             extra_extensions=[self.naming_issuers("above.cer")])
        where = [x509.GeneralName("uniform_resource_identifier", self.url + "root.crl")]
        part = {"extensions": [scope(distribution_point=x509.DistributionPointName("full_name", where))]}
        both = self.workspace.write("both.pem", self.roots.read_bytes() + forge.pem("CERTIFICATE", other.der))
        stamp = self.workspace.write("stamp", self.stamp_of(signer, issuer, again, accuser, lists=[
            list_of(accuser, (again, "key_compromise"))]))
        for confirmed in (False, True):
            self.begin("accused.crl", list_of(issuer))
            self.publish("root.crl", list_of(self.root, **part))
            self.publish("other.crl", list_of(other))
            self.publish("above.cer", above.der)
            if confirmed:
                self.publish("aside.crl", list_of(self.root))
            with self.subTest(confirmed=confirmed):
                self.expect(self.workspace.run("verify", stamp, "--data", self.data, "--roots", both), program.GOOD)

    def test_an_accuser_whom_a_strange_list_calls_good_is_asked_about(self):
        issuer, other = (self.authority_named("issuer", self.root, "root.crl") for _ in range(2))
        accuser = self.authority_named("accuser", issuer, "issuer.crl")
        again = forge.issue(self.folder, "again", accuser, key=self.stamper.key)
        said = [list_of(accuser, (again, "key_compromise")), list_of(self.middle), list_of(self.low)]
        for options in ((), AVAILABLE):
            for revoked, judge in (((), self.is_revoked), (((accuser, "key_compromise"),), self.passes)):
                for beside, lists in (((), ()), ((other,), (list_of(other, made=HOUR),))):
                    self.begin("issuer.crl", list_of(issuer, *revoked))
                    self.publish("root.crl", list_of(self.root))
                    with self.subTest(options=options, revoked=bool(revoked), strange=bool(beside)):
                        judge(self.stamp_of(self.stamper, self.low, self.middle, again, accuser, issuer, *beside,
                                            lists=[*said, *lists]), *options)

    def test_four_accusers_are_asked_about(self):
        def asks(page, content):
            def answer(_):
                self.asked.append(page)
                return 200, {}, content
            self.server.pages[page] = answer
        above, lists, pages = [], [list_of(self.root), list_of(self.middle), list_of(self.low)], {}
        for i in range(5):
            aside = forge.issue(self.folder, f"aside {i}", self.root, ca=True, usage=None)
            accuser = self.authority_named(f"accuser {i}", aside, f"aside-{i}.crl")
            again = forge.issue(self.folder, f"again {i}", accuser, key=self.stamper.key)
            above += [again, accuser, aside]
            lists.append(list_of(accuser, (again, "key_compromise")))
            pages[f"aside-{i}.crl"] = list_of(aside, (accuser, "key_compromise"))
        for count, judge in ((4, self.passes), (5, self.leaves_open)):
            self.begin("", b"")
            self.asked = []
            for page, content in pages.items():
                asks(page, content)
            with self.subTest(count):
                judge(self.stamp_of(self.stamper, self.low, self.middle, *above[:3 * count], lists=lists[:3 + count]))
                self.assertEqual(len(self.asked), 4)

    def test_who_was_heard_while_he_was_in_force_is_heard_for_ever(self):
        """He said so twice, and was superseded in between."""
        self.begin("", b"")
        speaker = forge.issue(self.folder, "speaker", self.root, ca=True, usage=None)
        other = forge.issue(self.folder, "other", speaker, key=self.stamper.key, crl_url=self.url + "speaker.crl")
        said = [list_of(speaker, (other, "key_compromise"), made=forge.days(ago), until=forge.days(3), since=forge.days(25),
                        number=number) for ago, number in ((20, 5), (2, 6))]
        lists = [list_of(self.root, (speaker, "superseded"), since=forge.days(10)), list_of(self.middle), list_of(self.low)]
        own = []
        for name, one in (("other", other), ("speaker", speaker)):
            own += ["--certs", one.write_pem(self.folder / f"{name}.pem")]
        files = [self.workspace.write(f"{i}.crl", one) for i, one in enumerate(said)]
        for given, inside, judge in (((), (), self.passes), ((1,), (), self.passes), ((0,), (), self.is_revoked),
                                     ((0,), (1,), self.is_revoked), ((0, 1), (), self.is_revoked), ((1,), (0,), self.is_revoked)):
            stamp = self.stamp_of(self.stamper, self.low, self.middle, lists=[*lists, *(said[i] for i in inside)])
            options = [option for i in given for option in ("--crls", files[i])]
            with self.subTest(given=given, inside=inside):
                judge(stamp, "--offline", *own, *options)
        self.begin("speaker.crl", said[0])
        self.info = forge.tst_info(DIGEST, time=NOW - forge.days(15))
        self.is_revoked(self.stamp_of(other, speaker))  # what it said first is kept
        self.info = forge.tst_info(DIGEST, time=NOW - HOUR)
        self.is_revoked(self.stamp_of(self.stamper, self.low, self.middle, lists=[*lists, said[1]]), "--offline", *own)

    def test_nobody_below_him_is_asked_about(self):
        """His lists leave nothing open, though those below him name addresses where nobody is."""
        below = forge.issue(self.folder, "low", self.thief, ca=True, usage=None, crl_url="http://127.0.0.1:1/gone.crl")
        false = list_of(below, (self.stamper, "key_compromise"))
        self.begin("low.crl", list_of(self.low))
        self.passes(self.stamp_of(self.stamper, self.low, self.middle, below, self.thief,
                                  lists=[false, self.root_list, list_of(self.middle)]))


if __name__ == "__main__":
    program.main()
