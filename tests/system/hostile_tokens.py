"""Tokens that must be refused, each for its own reason, and odd ones that must pass."""

import copy
import datetime
import hashlib
import itertools
import os

import forge
import program
from asn1crypto import algos, core, keys, ocsp, x509
from program import GOOD, REFUSED, UNREACHABLE

DATA = b"the data that was stamped\n"
DIGEST = hashlib.sha256(DATA).digest()
NO_CHECK = {"extn_id": "ocsp_no_check", "critical": False, "extn_value": core.Null()}
CERTIFICATE_VALUES = "1.2.840.113549.1.9.16.2.23"
ECDSA, RSA = (algos.SignedDigestAlgorithm({"algorithm": name}).dump() for name in ("sha256_ecdsa", "sha256_rsa"))


class MadeKey(forge.Key):
    """A key of another kind than forge's, by what openssl's genpkey is told."""

    def __init__(self, folder, *told):
        self.path = folder / f"{os.urandom(8).hex()}.pem"
        program.openssl("genpkey", "-algorithm", *told, "-out", self.path).check_returncode()
        self.spki = keys.PublicKeyInfo.load(program.openssl("pkey", "-in", self.path, "-pubout", "-outform", "DER").stdout)


def written(key, spki):
    """The same key, whose certificates have it in these octets."""
    other = copy.copy(key)
    other.spki = keys.PublicKeyInfo.load(spki)
    return other


class TokenTest(program.SystemTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.folder = cls.workspace.path
        cls.root, cls.tsa, cls.roots = forge.authority(cls.folder)
        cls.data = cls.workspace.write("data", DATA)
        cls.info = forge.tst_info(DIGEST, nonce=7)

    def verify(self, token, *options):
        path = self.workspace.write("stamp", token)
        return self.workspace.run("verify", path, "--data", self.data, "--roots", self.roots, *options)

    def passes(self, token, *options):
        self.expect(self.verify(token, *options), GOOD)

    def refuses(self, token, code, *options, words=""):
        self.expect(self.verify(token, *options), REFUSED, code, words)

    def cannot_tell(self, token, *options):
        self.expect(self.verify(token, *options), UNREACHABLE, "0x80092013", "indeterminate")

    def token(self, **keywords):
        return forge.make_token(self.tsa, self.info, **keywords)

    def token_with(self, *ess):
        return self.token(attributes=forge.signed_attributes(self.tsa, self.info, ess=ess))

    def token_of(self, signer, *more, time=None):
        return forge.make_token(signer, forge.tst_info(DIGEST, time=time), certificates=[signer.der, *more])

    def with_parts(self, attributes=None, certificates=(), lists=(), signer=None):
        signer = signer or self.tsa
        info = forge.signer_info(signer, self.info, forge.signed_attributes(signer, self.info))
        _, start, end = forge.read_header(info, 0)
        body = info[start:end].replace(ECDSA, RSA) if signer.key.spki.algorithm == "rsa" else info[start:end]
        if attributes is not None:
            body += forge.element(0xA1, b"".join(attributes))
        info = forge.element(0x30, body)
        return forge.signed_data(self.info, [info], [signer.der, *certificates], crls=lists)


class GoodTokens(TokenTest):
    def test_plain_response_and_grantedWithMods(self):
        self.passes(self.token())
        self.passes(forge.make_response(self.token()))
        self.passes(forge.make_response(self.token(), status=1, text="changed"))

    def test_strangers_and_odd_entries_in_the_certificate_set(self):
        stranger = forge.issue(self.folder, "stranger", self.root)
        attribute_certificate = forge.element(0xA2, forge.element(0x30, b"\x02\x01\x01"))
        other = forge.element(0xA3, core.ObjectIdentifier("1.2.3.4").dump() + b"\x05\x00")
        self.passes(self.token(certificates=[self.root.der, stranger.der, self.tsa.der, attribute_certificate, other]))

    def test_identifiers_of_all_allowed_kinds(self):
        v1 = forge.signing_certificate(forge.ess_cert_id(self.tsa))
        v2 = forge.signing_certificate_v2(forge.ess_cert_id_v2(self.tsa))
        bare_v1 = forge.signing_certificate(forge.ess_cert_id(self.tsa, with_serial=False))
        by_sha512 = forge.signing_certificate_v2(forge.ess_cert_id_v2(self.tsa, algorithm="sha512"))
        for identifiers in ((v1,), (v2,), (v1, v2), (bare_v1,), (by_sha512,)):
            self.passes(self.token_with(*identifiers))

    def test_what_stands_behind_is_no_part_of_it(self):
        for junk in (b"\0", b"junk", self.token()[:500]):
            result = self.verify(self.token() + junk)
            self.expect(result, GOOD)
            self.assertRegex(result.stdout, b"remark: %d bytes? behind the stamp, not" % len(junk))

    def test_certificate_given_by_file_only(self):
        bare = self.token(certificates=[])
        self.refuses(bare, "0x80092004")
        path = self.tsa.write_pem(self.folder / "tsa.pem")
        self.passes(bare, "--certs", path)


class BadSignatures(TokenTest):
    def test_forged_certificate_in_front_of_the_right_one(self):
        other_root = forge.issue(self.folder, "the root", ca=True)
        forged = forge.issue(self.folder, "the tsa", other_root, serial=self.tsa.serial)
        both = [forged.der, self.tsa.der]
        self.passes(self.token(certificates=both))
        self.expect(self.verify(forge.make_token(forged, self.info, certificates=both)), REFUSED)
        self.refuses(self.token(key=forged.key, certificates=both), "0x80090006")

    def test_imprint_of_wrong_length(self):
        for digest in (b"", DIGEST[:-1], DIGEST + b"\0"):
            with self.subTest(size=len(digest)):
                self.refuses(forge.make_token(self.tsa, forge.tst_info(digest)), "0x80091007")

    def test_signed_attributes_that_are_missing_doubled_or_of_another_kind(self):
        def signed(**changes):
            return self.token(attributes=forge.signed_attributes(self.tsa, self.info, **changes))
        data = "1.2.840.113549.1.7.1"
        other_kind = signed(drop=("contentType",), extra=[forge.content_type_attribute(data)])
        for name, token, code in (
                ("bare signature", self.token(no_attributes=True), ""),
                ("no messageDigest", signed(drop=("messageDigest",)), "0x80091006"),
                ("no contentType", signed(drop=("contentType",)), ""),
                ("two messageDigests", signed(extra=[forge.message_digest_attribute(b"else")]), ""),
                ("content of another kind", self.token(content_oid=data), ""),
                ("contentType of another kind", other_kind, "")):
            with self.subTest(name):
                self.refuses(token, code)

    def test_any_changed_byte_of_what_counts(self):
        good = self.token()
        self.passes(good)
        for at in range(0, len(good), 11):
            changed = bytearray(good)
            changed[at] ^= 0x01
            result = self.verify(bytes(changed))
            self.assertIn(result.returncode, (0, REFUSED, UNREACHABLE), f"byte {at}: {result.stderr}")
            self.assertEqual(result.returncode == UNREACHABLE, b"no signature covers" in result.stderr, result.stderr)

    def test_a_stamp_over_a_broken_hash_is_refused_whatever_it_is_compared_with(self):
        path = self.workspace.path / "stamp"
        for name, oid, size in (("MD2", "1.2.840.113549.2.2", 16), ("MD4", "1.2.840.113549.2.4", 16),
                                ("MD5", "1.2.840.113549.2.5", 16), ("MDC-2", "2.5.8.3.101", 16),
                                ("SHA-0", "1.3.14.3.2.18", 20), ("RIPEMD-128", "1.3.36.3.2.2", 16),
                                ("RIPEMD-160", "1.3.36.3.2.1", 20)):
            imprint = {"hash_algorithm": {"algorithm": oid}, "hashed_message": bytes(size)}
            path.write_bytes(forge.make_token(self.tsa, forge.tst_info(None, message_imprint=imprint)))
            with self.subTest(name):
                self.expect(self.workspace.run("verify", path, "--no-data", "--roots", self.roots), REFUSED, name)

    def test_a_key_that_is_too_short_is_told_as_that(self):
        key = MadeKey(self.folder, "EC", "-pkeyopt", "ec_paramgen_curve:secp112r1")
        signer = forge.issue(self.folder, "short", self.root, key=key)
        self.expect(self.verify(self.token_of(signer)), REFUSED, "too weak")


class SigningCertificateAttributes(TokenTest):
    def test_those_that_do_not_name_the_signer_once(self):
        v1, v2 = forge.signing_certificate, forge.signing_certificate_v2
        other = forge.issue(self.folder, "other", self.root)
        one = v2(forge.ess_cert_id_v2(self.tsa))
        again = v2(forge.ess_cert_id_v2(self.tsa, with_serial=False))
        value = forge.element(0x30, forge.element(0x30, forge.ess_cert_id_v2(self.tsa)))
        digest = core.OctetString(hashlib.sha256(self.tsa.der).digest()).dump()
        for name, attributes, *told in (
                ("missing", (), "0x80092004", "no signed attribute"),
                ("empty", (v2(),)),
                ("without a value", (forge.attribute(forge.ID_SIGNING_CERTIFICATE_V2),)),
                ("doubled", (one, again), "0x8007000B"),
                ("doubled value", (forge.attribute(forge.ID_SIGNING_CERTIFICATE_V2, value, value),), "0x8007000B"),
                ("wrong type", (forge.attribute(forge.ID_SIGNING_CERTIFICATE_V2, b"\x0c\x03abc"),)),
                ("another certificate", (v2(forge.ess_cert_id_v2(other)),), "0x80092004"),
                ("another certificate, v1", (v1(forge.ess_cert_id(other)),), "0x80092004"),
                ("right hash with another serial", (v2(forge.element(0x30, digest + forge.issuer_serial(other))),))):
            with self.subTest(name):
                self.expect(self.verify(self.token_with(*attributes)), REFUSED, *told)

    def test_names_with_values_of_unusual_types(self):
        """As honest authorities have them: a country in UTF-8, a mail address that isn't IA5."""
        def part(oid, value):
            return forge.element(0x31, forge.element(0x30, core.ObjectIdentifier(oid).dump() + value))
        parts = (("2.5.4.6", "DE"), ("1.2.840.113549.1.9.1", "tsa@example.com"), ("2.5.4.3", "x"))
        name = x509.Name.load(forge.element(0x30, b"".join(part(oid, core.UTF8String(text).dump()) for oid, text in parts)))
        ca = forge.issue(self.folder, name, self.root, ca=True)
        signer = forge.issue(self.folder, "below it", ca)
        v1, v2 = (forge.signing_certificate(forge.ess_cert_id(signer)),
                  forge.signing_certificate_v2(forge.ess_cert_id_v2(signer)))
        def token(signer, *ess, info=self.info, more=()):
            attributes = forge.signed_attributes(signer, info, ess=ess or None)
            return forge.make_token(signer, info, certificates=[*more, signer.der, ca.der, *more],
                                    attributes=attributes)
        for name, ess in (("v2", (v2,)), ("v1", (v1,)), ("both", (v1, v2))):
            with self.subTest(name):
                self.passes(token(signer, *ess))
        other = forge.issue(self.folder, "below it", ca)
        for name, ess in (("another", v2), ("one of another", (v2, forge.signing_certificate(forge.ess_cert_id(signer)))),
                          ("twice", (v2, v2))):
            with self.subTest(name):
                self.expect(self.verify(token(other, *(ess if isinstance(ess, tuple) else (ess,)))), REFUSED)
        digest = core.OctetString(hashlib.sha256(signer.der).digest()).dump()
        wrong = forge.element(0x30, digest + forge.issuer_serial(other))
        self.expect(self.verify(token(signer, forge.signing_certificate_v2(wrong))), REFUSED)
        with self.subTest("beside the signer"):
            self.passes(token(self.tsa, more=(signer.der,)))
        with self.subTest("the authority's own word for itself"):
            info = forge.tst_info(DIGEST, tsa=ca.name)
            self.passes(token(signer, info=info))

    def test_certificates_with_an_extension_by_a_uuid(self):
        odd = [{"extn_id": "2.25.329800735698586629295641978511506172918", "critical": False,
                "extn_value": core.ParsableOctetString(b"\x05\x00")}]
        root = forge.issue(self.folder, "root", ca=True, extra_extensions=odd)
        ca = forge.issue(self.folder, "ca", root, ca=True, extra_extensions=odd)
        signer = forge.issue(self.folder, "signer", ca, extra_extensions=odd)
        roots = root.write_pem(self.folder / "odd root.pem")
        path = self.workspace.path / "stamp"
        path.write_bytes(self.token_of(signer, ca.der))
        self.expect(self.workspace.run("verify", path, "--no-data", "--roots", roots), GOOD)

    def test_those_by_a_broken_hash(self):
        v1, v2 = forge.signing_certificate, forge.signing_certificate_v2
        self.expect(self.verify(self.token_with(v2(forge.ess_cert_id_v2(self.tsa, algorithm="md5")))), REFUSED, "MD5")
        for attribute in (v1(forge.ess_cert_id(self.tsa)), v2(forge.ess_cert_id_v2(self.tsa, algorithm="sha1"))):
            self.passes(self.token_with(attribute))


class BadChains(TokenTest):

    def test_certificates_that_no_signer_may_have(self):
        time_stamping = {"extn_id": "extended_key_usage", "critical": True, "extn_value": ["time_stamping"]}
        odd = {"extn_id": "1.2.3.4.5", "critical": True, "extn_value": core.ParsableOctetString(b"\x05\x00")}
        again = {"extn_id": "key_identifier", "critical": False, "extn_value": b"12345678"}
        for name, options, *told in (
                ("without usage", dict(usage=None), "0x800B0110"),
                ("usage not critical", dict(usage_critical=False), "0x800B0110"),
                ("a second usage", dict(usage=("time_stamping", "code_signing")), "0x800B0110"),
                ("another usage", dict(usage=("code_signing",)), "0x800B0110"),
                ("that of a CA", dict(ca=True, extra_extensions=[time_stamping]), "0x800B0110"),
                ("unknown critical extension", dict(extra_extensions=[odd]), "0x800B0105"),
                ("doubled", dict(extra_extensions=[again]), "0x800B0108",
                 "has dates or extensions in a form that isn't allowed: that of O=Forge, CN=doubled")):
            with self.subTest(name):
                signer = forge.issue(self.folder, name, self.root, **options)
                self.expect(self.verify(self.token_of(signer)), REFUSED, *told)

    def test_crowds_of_authorities_for_other_uses(self):
        """Anybody may put them beside: they hide no right one, and aren't a reason to call a stamp bad."""
        def by_digest(certificate):  # what settles which of equally likely ones goes first
            return hashlib.sha256(certificate.der).digest()

        side = forge.issue(self.folder, "side", self.root, ca=True, usage=("server_auth",))
        key = forge.Key(self.folder)
        honest = max((forge.issue(self.folder, "authority", self.root, ca=True, key=key) for _ in range(8)), key=by_digest)
        signer = forge.issue(self.folder, "signer", honest)
        crowd = [forge.issue(self.folder, "authority", side, ca=True, usage=None, key=key) for _ in range(60)]
        crowd = [one.der for one in crowd if by_digest(one) < by_digest(honest)]
        self.passes(self.token_of(signer, honest.der))
        self.passes(self.token_of(signer, side.der, honest.der, *crowd))
        self.refuses(self.token_of(signer, side.der, *crowd[:10]), "0x800B0110")


    def test_what_shares_name_and_number_is_no_copy(self):
        """Neither of an authority nor of the one above it, which allows other names only; its way up is tried first."""
        def issue(name, issuer, **more):
            return forge.issue(self.folder, name, issuer, ca=True, usage=None, serial=7, **more)
        others = x509.GeneralName("directory_name", forge.name_of("others"))
        allowed = {"extn_id": "name_constraints", "critical": True, "extn_value": {"permitted_subtrees": [{"base": others}]}}
        wrong, right = issue("above", self.root, extra_extensions=[allowed]), issue("above", self.root)
        key = forge.Key(self.folder)
        by_right, by_wrong = issue("authority", right, key=key), issue("authority", wrong, key=key)
        while hashlib.sha256(by_wrong.der).digest() > hashlib.sha256(by_right.der).digest():
            by_right, by_wrong = issue("authority", right, key=key), issue("authority", wrong, key=key)
        signer = forge.issue(self.folder, "signer", by_right)
        self.refuses(self.token_of(signer, by_wrong.der, wrong.der), "0x800B0114")
        self.passes(self.token_of(signer, by_right.der, right.der, by_wrong.der, wrong.der))


class Revocation(TokenTest):
    """Nothing listens at the address that the certificates name."""

    URL = "http://127.0.0.1:1/root.crl"

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.signer = forge.issue(cls.folder, "named", cls.root, crl_url=cls.URL)
        cls.time = forge.now() - datetime.timedelta(hours=2)

    def crl(self, *revoked):
        return self.workspace.write("crl", forge.make_crl(self.root, revoked))

    def stamp(self):
        return self.token_of(self.signer, time=self.time)

    def test_unreachable_source(self):
        self.cannot_tell(self.stamp())
        self.cannot_tell(self.stamp(), "--revocation", "require")
        self.passes(self.stamp(), "--revocation", "available")
        self.passes(self.stamp(), "--revocation", "off")
        self.workspace.configure('[config.basalt]\nRevocation = "available"\n')
        self.passes(self.stamp())

    def test_crl_by_file(self):
        self.passes(self.stamp(), "--crls", self.crl())

    def test_revoked_before_the_stamp(self):
        for reason in (None, "superseded", "key_compromise"):
            path = self.crl((self.signer.serial, self.time - datetime.timedelta(hours=1), reason))
            self.refuses(self.stamp(), "0x80092010", "--crls", path)
            self.refuses(self.stamp(), "0x80092010", "--crls", path, "--revocation", "available")
            self.passes(self.stamp(), "--crls", path, "--revocation", "off")

    def test_a_hold_on_one_way_up_leaves_the_other_way_open(self):
        """Whichever of the two is looked at first: that goes by their digests."""
        url = {"crl_url": self.URL}
        held = forge.issue(self.folder, "held", self.root, ca=True, usage=None, **url)
        key = forge.Key(self.folder)
        by_root = forge.issue(self.folder, "two ways", self.root, ca=True, usage=None, key=key, **url)
        hold = forge.make_crl(self.root, [(held.serial, self.time - forge.days(1), "certificate_hold")])
        seen = set()
        while len(seen) < 2:
            by_held = forge.issue(self.folder, "two ways", held, ca=True, usage=None, key=key, **url)
            order = hashlib.sha256(by_held.der).digest() < hashlib.sha256(by_root.der).digest()
            if order in seen:
                continue
            seen.add(order)
            signer = forge.issue(self.folder, "signer", by_held, **url)
            for known, status in (((hold, forge.make_crl(by_held)), GOOD), ((hold,), UNREACHABLE)):
                with self.subTest(held_first=order, known=len(known)):
                    token = self.with_parts(None, [by_held.der, held.der, by_root.der], known, signer)
                    self.expect(self.verify(token, "--offline"), status)

    def test_a_stolen_key_that_is_written_otherwise_is_the_same_key(self):
        key = MadeKey(self.folder, "RSA")
        stolen = forge.issue(self.folder, "stolen", self.root, key=key)
        lists = [forge.make_crl(self.root, [(stolen.serial, forge.now() - forge.days(2), "key_compromise")])]
        numbers = key.spki["public_key"].parsed.dump()
        _, start, end = forge.read_header(numbers, 0)
        numbers = numbers[start:end]
        _, start, end = forge.read_header(numbers, 0)
        padded = forge.element(2, b"\0" + numbers[start:end]) + numbers[end:]
        for name, sequence in (("as ever", forge.element(0x30, numbers)), ("padded", forge.element(0x30, padded)),
                               ("long length", b"\x30\x83" + len(numbers).to_bytes(3, "big") + numbers)):
            with self.subTest(name):
                spki = forge.element(0x30, key.spki["algorithm"].dump() + forge.element(3, b"\0" + sequence))
                signer = forge.issue(self.folder, name, self.root, key=written(key, spki))
                self.assertIn(spki, signer.der)
                result = self.verify(self.with_parts(None, [stolen.der], lists, signer), "--offline")
                self.assertIn(result.returncode, (REFUSED,) if name == "as ever" else (REFUSED, UNREACHABLE), result.stderr)

    def test_a_compressed_point_is_no_short_key(self):
        key = forge.Key(self.folder)
        spki = program.openssl("pkey", "-in", key.path, "-pubout", "-outform", "DER", "-ec_conv_form", "compressed").stdout
        signer = forge.issue(self.folder, "compressed", self.root, key=written(key, spki))
        self.assertIn(spki, signer.der)
        self.passes(self.token_of(signer))

    def test_a_responder_that_was_taken_back_makes_nothing_bad(self):
        """However many lists of a stranger's, and twins, come along to have what speaks of the responder left out."""
        ca = forge.issue(self.folder, "ca", self.root, ca=True, usage=None)
        responder = forge.issue(self.folder, "responder", ca, usage=("ocsp_signing",), extra_extensions=[NO_CHECK])
        signer = forge.issue(self.folder, "signer", ca, crl_url=self.URL)
        side = forge.issue(self.folder, "side", self.root, ca=True, usage=("server_auth",))
        stranger = forge.issue(self.folder, "ca", side, ca=True, usage=None)
        around = [ca.der, side.der, stranger.der]
        ago = forge.now() - forge.days(2)
        junk = [forge.make_crl(stranger, [(signer.serial, ago, "superseded")]) for _ in range(16)]
        for said in ("superseded", "key_compromise"):
            word = forge.among_lists(forge.answer_of(responder, ca, signer, said))
            self.refuses(self.with_parts(None, [ca.der], [word], signer), "0x80092010", "--offline")
            for why in ("superseded", "certificate_hold"):
                lists = [word, forge.make_crl(self.root), forge.make_crl(ca, [(responder.serial, ago, why)])]
                for count, more in itertools.product((0, 4, 8, 16), ((), (forge.twin(signer).der,))):
                    with self.subTest(said=said, responder=why, junk=count, twin=bool(more)):
                        token = self.with_parts(None, [*around, *more], [*lists, *junk[:count]], signer)
                        result = self.verify(token, "--offline")
                        allowed = [UNREACHABLE] if count or why == "certificate_hold" else []  # that may have been lifted
                        self.assertIn(result.returncode, (GOOD, *allowed), result.stderr)


class AFewThousandOctets(TokenTest):
    """What a stranger puts beside a good stamp, of which all is at hand, leaves it good."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.ca = forge.issue(cls.folder, "ca", cls.root, ca=True, usage=None)
        cls.signer = forge.issue(cls.folder, "signer", cls.ca)
        cls.lists = [forge.make_crl(cls.ca), forge.make_crl(cls.root)]

    def stamp(self, certificates=(), lists=(), by=None):
        lists = [by or self.lists[0], self.lists[1], *lists]
        return self.with_parts(None, [self.ca.der, *(one.der for one in certificates)], lists, self.signer)

    def stays_good(self, token, most):
        self.assertLess(len(token), len(self.stamp()) + most)
        for mode in ("require", "available"):
            self.passes(token, "--offline", "--revocation", mode)

    def test_many_ways_up_through_an_authority_for_other_uses(self):
        """Each layer has two certificates of one key: 256 ways lead up from the lowest."""
        side = forge.issue(self.folder, "side", self.root, ca=True, usage=("server_auth",))
        layers = [(side,)]
        for depth in range(8):
            key = forge.Key(self.folder)
            layers.append([forge.issue(self.folder, f"layer {depth}", layers[-1][0], ca=True, usage=None, key=key)
                           for _ in range(2)])
        lowest = layers[-1][0]
        crowd = [one for layer in layers for one in layer]
        above = forge.issue(self.folder, "above", self.root, ca=True, usage=None)
        beside = forge.issue(self.folder, "ca", above, ca=True, usage=None)  # another key signs the lists
        for name, of, more in (("signer", self.signer, {}), ("ca", self.ca, {"ca": True}),
                               ("beside", beside, {"ca": True})):
            again = forge.issue(self.folder, of.name.native["common_name"], lowest, usage=None, key=of.key, **more)
            by = forge.make_crl(beside) if of is beside else None
            said = forge.make_crl(lowest, [(again.serial, forge.now() - forge.days(2), "key_compromise")])
            with self.subTest(name):
                self.stays_good(self.stamp([*crowd, again, beside, above], by=by), 9000)
                self.stays_good(self.stamp([*crowd, again, beside, above], [said], by=by), 9000)

    def test_copies_of_who_signs_lists(self):
        """Lists under two keys of one name, and an authority that was certified twice."""
        url = {"crl_url": "http://127.0.0.1:1/list"}
        above = [forge.issue(self.folder, "above", self.root, ca=True, usage=None, key=key, **url)
                 for key in [forge.Key(self.folder)] * 2]
        issuing = forge.Key(self.folder)
        crossed = forge.issue(self.folder, "issuing", above[0], ca=True, usage=None, key=issuing, **url)
        direct = forge.issue(self.folder, "issuing", self.root, ca=True, usage=None, key=issuing, **url)
        beside = forge.issue(self.folder, "issuing", above[0], ca=True, usage=None, **url)
        signer = forge.issue(self.folder, "signer", crossed, **url)
        responder = forge.issue(self.folder, "responder", crossed, usage=("ocsp_signing",), **url)
        lists = [forge.make_crl(issuer) for issuer in (self.root, crossed, beside)]
        lists.append(forge.among_lists(forge.answer_of(responder, crossed, signer)))
        honest = [one.der for one in (*above, direct, beside)]
        copies = [forge.twin(one).der for one in (above[0], beside, responder)]
        for order in itertools.permutations(copies):
            self.stays_good(self.with_parts(None, [*honest, *order], lists, signer), 6000)

    def test_a_list_of_each_week_by_another_key(self):
        """Of which others made certificates, too, that may not have this name."""
        def digest_of(one):  # the least is tried first
            return hashlib.sha256(one.der).digest()
        above = forge.issue(self.folder, "above", self.root, ca=True, usage=None)
        beside = max((forge.issue(self.folder, "ca", above, ca=True, usage=None) for _ in range(8)), key=digest_of)
        others = x509.GeneralName("directory_name", forge.name_of("others"))
        side = forge.issue(self.folder, "side", self.root, ca=True, usage=None, extra_extensions=[{
            "extn_id": "name_constraints", "critical": True, "extn_value": {"permitted_subtrees": [{"base": others}]}}])
        wrong = (forge.issue(self.folder, "ca", side, ca=True, usage=None, key=beside.key) for _ in range(100))
        wrong = list(itertools.islice((one for one in wrong if digest_of(one) < digest_of(beside)), 6))
        lists = [forge.make_crl(beside) for _ in range(104)]
        for junk in ((), (side, *wrong), (forge.twin(self.signer),)):
            self.stays_good(self.stamp([beside, above, *junk], lists[1:], by=lists[0]), 40000)

    def test_copies_of_a_way_up_that_was_taken_back(self):
        """Signatures by P-256 have two forms, lengths have several: there are 64 such ways before the right one."""
        def copies(one):
            _, start, end = forge.read_header(one.der, 0)
            lengths = [bytes([0x30, 0x80 + size]) + (end - start).to_bytes(size, "big") for size in (3, 4)]
            return [one.der, forge.twin(one).der, *(length + one.der[start:end] for length in lengths)]
        above = [self.root]
        for name in ("first", "second"):
            above.append(forge.issue(self.folder, name, above[-1], ca=True, usage=None))
        key, right = forge.Key(self.folder), None
        gone = forge.issue(self.folder, "third", above[-1], ca=True, usage=None, key=key)
        first = max(hashlib.sha256(copy).digest() for copy in copies(gone))
        while right is None or hashlib.sha256(right.der).digest() < first:  # which is tried last
            right = forge.issue(self.folder, "third", self.root, ca=True, usage=None, key=key)
            if first > b"\xf0":
                gone = forge.issue(self.folder, "third", above[-1], ca=True, usage=None, key=key)
                first = max(hashlib.sha256(copy).digest() for copy in copies(gone))
        signer = forge.issue(self.folder, "signer", right)
        lists = [forge.make_crl(issuer) for issuer in (*above[:2], right)]
        lists.append(forge.make_crl(above[-1], [(gone.serial, forge.now() - forge.days(2), "superseded")]))
        crowd = [copy for one in (*above[1:], gone) for copy in copies(one)]
        self.stays_good(self.with_parts(None, [*crowd, right.der], lists, signer), 6000)

    def test_made_up_responders(self):
        """Three answers that nobody signed, and with each the certificates of eleven that nobody certified."""
        algorithm = forge.element(0x30, core.ObjectIdentifier("1.3.101.112").dump())
        made = program.openssl("genpkey", "-algorithm", "ED25519", "-outform", "DER").stdout
        spki = program.openssl("pkey", "-inform", "DER", "-pubout", "-outform", "DER", stdin=made).stdout
        dates = forge.element(0x30, forge.element(0x17, b"260101000000Z") + forge.element(0x17, b"270101000000Z"))
        unsigned = algorithm + forge.element(3, b"\0x")
        usage = x509.Extensions([{"extn_id": "extended_key_usage", "extn_value": ["ocsp_signing"]}]).dump()
        def responder(number, issuer, extensions):
            body = b"\xa0\x03\x02\x01\x02" + core.Integer(number).dump() + algorithm
            body += issuer + dates + b"\x30\x00" + spki + extensions
            return forge.element(0x30, forge.element(0x30, body) + unsigned)
        for name, parts in (("of nobody", (b"\x30\x00", b"")),
                            ("as if named", (self.ca.name.dump(), forge.element(0xA3, usage)))):
            answers = []
            for minutes in range(3):
                honest = ocsp.OCSPResponse.load(forge.answer_of(self.ca, self.ca, self.signer, None,
                                                                datetime.timedelta(minutes=minutes)))
                data = honest["response_bytes"]["response"].parsed["tbs_response_data"]
                data["responder_id"] = ocsp.ResponderId("by_key", hashlib.sha1(spki[-32:]).digest())
                crowd = forge.element(0x30, b"".join(responder(1 + 20 * minutes + i, *parts) for i in range(11)))
                basic = forge.element(0x30, data.dump(force=True) + unsigned + forge.element(0xA0, crowd))
                answers.append(forge.among_lists(ocsp.OCSPResponse({"response_status": "successful", "response_bytes": {
                    "response_type": "basic_ocsp_response", "response": ocsp.BasicOCSPResponse.load(basic)}}).dump()))
            with self.subTest(name):
                self.stays_good(self.stamp(lists=answers), 10000)


class Unsigned(TokenTest):
    """What anybody can put beside what is signed: it makes no stamp bad, nor good before all of it was looked at."""

    NULL = b"\x05\x00"

    def cannot_be_read(self, token, word, *fragments):
        for form in (token, forge.make_response(token)):
            self.expect(self.verify(form), UNREACHABLE, "nothing can be told", *fragments)
            path = self.workspace.write("stamp", form)
            status, told = self.workspace.run_json("verify", path, "--no-data", "--roots", self.roots)
            self.assertEqual((status, told["ok"], told["error"]["word"]), (UNREACHABLE, False, word))

    def test_more_than_is_looked_at(self):
        def attributes(count):
            return {"attributes": [forge.attribute(f"1.2.3.{i}", self.NULL) for i in range(count)]}
        def values(count):
            return {"attributes": [forge.attribute("1.2.3", *[core.Integer(i).dump() for i in range(count)])]}
        junk = forge.element(0x30, b"\x02\x01\x01")
        for part, most, parts in (("certificates", 511, lambda n: {"certificates": [junk] * n}),
                                  ("revocation lists", 512, lambda n: {"lists": [junk] * n}),
                                  ("unsigned attributes", 256, attributes),
                                  ("values of an unsigned attribute", 64, values)):
            with self.subTest(part):
                self.passes(self.with_parts(**parts(most)))
                for many in (most + 1, 5000):
                    self.cannot_be_read(self.with_parts(**parts(many)), "unsigned_too_many",
                                        f"more {part} than are looked at", "without them")

    def test_certificates_hidden_behind_more_than_are_looked_at(self):
        """Of an authority's two certificates one was given up: what junk hides may be the other. The signer's end stands."""
        old = forge.issue(self.folder, "twice", self.root, ca=True, usage=None)
        other = forge.issue(self.folder, "twice", self.root, ca=True, usage=None, key=old.key)
        signer = forge.issue(self.folder, "signer", old)
        for gone, in_sight, hidden in ((old, GOOD, UNREACHABLE), (signer, REFUSED, REFUSED)):
            lists = [forge.make_crl(issuer, [(gone.serial, forge.now() - forge.days(100), "superseded")])
                     for issuer in (self.root, old) if issuer.name.dump() == gone.certificate.issuer.dump()]
            for junk, expected in ((4095, in_sight), (4096, hidden)):
                values = forge.element(0x30, forge.element(0x30, b"\x02\x01\x01") * junk + other.der)
                token = self.with_parts([forge.attribute(CERTIFICATE_VALUES, values)], [old.der], lists,
                                        signer=signer)
                self.expect(self.verify(token, "--revocation", "available"), expected)

    def test_weak_namesakes_that_hide_the_authority_are_not_blamed(self):
        ca = self.root
        while ca is self.root or hashlib.sha256(ca.der).digest() < b"\xe0":  # the least digests are looked at
            ca = forge.issue(self.folder, "hidden", self.root, ca=True, usage=None)
        signer = forge.issue(self.folder, "signer", ca)
        weak = {"algorithm": "md5_rsa", "parameters": core.Null()}
        def namesake():
            fields = ca.certificate["tbs_certificate"].copy()
            fields["serial_number"] = int.from_bytes(os.urandom(8), "big") >> 1
            fields["signature"], fields["issuer"] = weak, forge.name_of("nobody")
            return x509.Certificate({"tbs_certificate": fields, "signature_algorithm": weak,
                                     "signature_value": os.urandom(256)}).dump()
        token = self.with_parts(certificates=[ca.der, *(namesake() for _ in range(300))], signer=signer)
        self.expect(self.verify(token), UNREACHABLE, "more came along than may be looked at")

    def test_what_junk_hides_is_no_licence_where_revocation_is_off(self):
        """A weak chain and a signer for another use stay what they are."""
        def authority(name, issuer=self.root, **options):
            return forge.issue(self.folder, name, issuer, ca=True, usage=None, **options)
        key = MadeKey(self.folder, "EC", "-pkeyopt", "ec_paramgen_curve:secp112r1")
        curve = authority("curve", key=key)
        while hashlib.sha256(curve.der).digest() >= b"\x80":  # the least digests are looked at
            curve = authority("curve", key=key)
        rsa = authority("rsa", key=MadeKey(self.folder, "RSA"))
        plain, by_md5 = authority("md5", rsa), {"algorithm": "md5_rsa"}
        fields = plain.certificate["tbs_certificate"].copy()
        fields["signature"] = by_md5
        tbs = x509.TbsCertificate.load(fields.dump(force=True))
        signature = program.openssl("dgst", "-md5", "-sign", rsa.key.path, stdin=tbs.dump()).stdout
        md5 = forge.Identity(x509.Certificate.load(x509.Certificate({
            "tbs_certificate": tbs, "signature_algorithm": by_md5, "signature_value": signature}).dump()), plain.key)
        stamping = authority("stamping", extra_extensions=[
            {"extn_id": "extended_key_usage", "critical": True, "extn_value": ["time_stamping"]}])
        namesake, number = authority("curve", serial=0x2001).der, core.Integer(0x2001).dump()
        namesakes = [namesake.replace(number, core.Integer(0x2001 + i).dump()) for i in range(120)]
        values = [forge.attribute(CERTIFICATE_VALUES, forge.element(0x30, b"\x30\x00" * 4097))]
        for name, above, junk, beside in (("strong", [authority("strong")], values, []), ("MD5", [md5, rsa], values, []),
                                          ("weak curve", [curve], values, []), ("namesakes", [curve], None, namesakes),
                                          ("an authority stamps", [], values, [])):
            signer = forge.issue(self.folder, "signer", above[0]) if above else stamping
            above = [one.der for one in above]
            plain, hiding = self.with_parts(None, above, (), signer), self.with_parts(junk, [*above, *beside], (), signer)
            for mode, status in (("off", GOOD), ("available", UNREACHABLE)):
                with self.subTest(name, mode=mode):
                    self.expect(self.verify(plain, "--revocation", mode), GOOD if name == "strong" else REFUSED)
                    result = self.verify(hiding, "--revocation", mode)
                    allowed = (status,) if name == "strong" else (REFUSED, UNREACHABLE)
                    self.assertIn(result.returncode, allowed, result.stdout)

    def test_damaged_parts(self):
        oid = core.ObjectIdentifier("1.2.3").dump()
        values = forge.element(0x31, self.NULL)
        ends = b"\0\0"
        for name, attribute in (("empty", b""), ("without values", oid),
                                ("a SEQUENCE for the SET", oid + forge.element(0x30, self.NULL)),
                                ("three members", oid + values + self.NULL),
                                ("no identifier", b"\x02\x01\x01" + values),
                                ("an empty identifier", b"\x06\x00" + values),
                                ("superfluous zeros", b"\x06\x02\x80\x01" + values),
                                ("an identifier cut off", b"\x06\x02\x2a\x83" + values),
                                ("a value cut off", oid + forge.element(0x31, b"\x30\x05\x02\x01\x01"))):
            with self.subTest(name):
                self.cannot_be_read(self.with_parts(attributes=[forge.element(0x30, attribute)]), "unsigned_damaged",
                                    "unsigned attributes of the time-stamp token are damaged")
        self.cannot_be_read(self.with_parts(attributes=[self.NULL]), "unsigned_damaged", "unsigned attributes")
        for part, parts in (("certificates", {"certificates": [ends]}), ("revocation lists", {"lists": [ends]}),
                            ("certificates", {"certificates": [b"\x30\x05\x02\x01\x01"]})):
            with self.subTest(part):
                self.cannot_be_read(self.with_parts(**parts), "unsigned_damaged", f"the {part} of the", "0x80093101")

    def test_damage_around_what_is_signed(self):
        token = self.token()
        hashes = forge.element(0x31, algos.DigestAlgorithm({"algorithm": "sha256"}).dump())
        self.assertEqual(token.count(hashes), 1)
        no_hashes = forge.element(0x31, forge.element(0x04, bytes(len(hashes) - 4)))
        wide = b"\x1f\x81\x80\x80\x80\x01\x00"
        for name, odd in (("hash algorithms", token.replace(hashes, no_hashes)),
                          ("a tag among the lists", self.with_parts(lists=[wide]))):
            with self.subTest(name):
                self.cannot_be_read(odd, "unsigned_damaged", "no signature covers")

    def test_other_messages_are_none(self):
        other = forge.signed_data(b"text", [forge.signer_info(self.tsa, b"text", None)], [b"\0\0"],
                                  content_oid="1.2.840.113549.1.7.1")
        self.refuses(other, "0x80093101", words="signed message")

    def test_more_than_is_looked_at_of_what_is_signed_is_malformed(self):
        many = [forge.attribute(f"1.2.3.{i}", self.NULL) for i in range(300)]
        self.refuses(self.token(attributes=forge.signed_attributes(self.tsa, self.info, extra=many)), "0x80093101",
                     words="malformed")


class BrokenBytes(TokenTest):
    def test_noise_and_absurd_lengths(self):
        for content in (b"", b"\0", b"0" * 100, b"\x30\x84\x7f\xff\xff\xff", b"\x30\x80" * 5000,
                        b"<html></html>", bytes(range(256)) * 16, b"\x30\x80\x02\x01\x00"):
            result = self.verify(content)
            self.assertIn(result.returncode, (REFUSED,), content[:16])


if __name__ == "__main__":
    program.main()
