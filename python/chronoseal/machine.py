"""The machine's policy, trusted roots and health."""

from __future__ import annotations

import dataclasses
import enum
from typing import Optional, Tuple

from ._memory import Arena, Data, Sources, text_of
from ._native import ffi, lib
from .error import call
from .sealer import Authorities, authorities_in_memory
from .stamp import Certificate, certain
from .stop import Watch, collected
from .verifier import Revocation, Strength, trust_of


class SettingState(enum.Enum):
    """What is with a key of the configuration."""

    BY_DEFAULT = 0  #: it is absent
    SET = 1
    UNREADABLE = 2  #: of the wrong type
    NOT_ALLOWED = 3  #: a value that isn't one of those that mean something
    UNKNOWN = 4  #: means nothing: a slip of the pen, mostly


@dataclasses.dataclass(frozen=True)
class Setting:
    """One key of the configuration."""

    key: str
    value: str
    source: str  #: the file; empty: built in
    problem: str  #: empty: none
    fatal: bool
    state: SettingState


@dataclasses.dataclass(frozen=True)
class Store:
    """A certificate store of this user and machine."""

    name: str  #: "Root", "CA", "My", "AddressBook"
    certificates: int
    revocation_lists: int
    problem: str  #: empty: it could be read


@dataclasses.dataclass(frozen=True)
class MachinePolicy:
    usable: bool  #: requests are possible
    settings: Tuple[Setting, ...]
    problems: Tuple[str, ...]  #: what is wrong as a whole, files that can't be read mostly
    stores: Tuple[Store, ...]


class Severity(enum.Enum):
    GOOD = 0
    NOTE = 1
    WARNING = 2
    FAULT = 3


@dataclasses.dataclass(frozen=True)
class Diagnosis:
    area: str
    severity: Severity
    word: str
    text: str
    advice: str


class Place(enum.Enum):
    """Whose store is meant."""

    USER = 0
    MACHINE = 1  #: needs the rights for it


@dataclasses.dataclass(frozen=True)
class TrustedRoot:
    """A root that counts where a verifier is given none."""

    certificate: Certificate
    place: str  #: "user", "machine", or "system" for those that come with the operating system


def policy() -> MachinePolicy:
    """What is in force on this machine for this user."""
    usable = ffi.new("int*")
    settings = collected(
        lambda one: Setting(text_of(one.key), text_of(one.value), text_of(one.source), text_of(one.problem),
                            one.fatal != 0, SettingState(one.state)),
        lib.chronoseal_policy, lib.chronoseal_python_setting, rest=(usable,))
    problems = collected(text_of, lib.chronoseal_policy_problems, lib.chronoseal_python_problem)
    stores = collected(
        lambda one: Store(text_of(one.name), one.certificates, one.revocation_lists, text_of(one.problem)),
        lib.chronoseal_stores, lib.chronoseal_python_store)
    return MachinePolicy(usable[0] != 0, tuple(settings), tuple(problems), tuple(stores))


def diagnose(authorities: Authorities = (), *, roots: Optional[Sources] = None, certificates: Sources = (),
             ask: bool = False) -> Tuple[Diagnosis, ...]:
    """What would make a stamp or a verification fail on this machine, and what is well. With `ask` one stamp is asked
    of each authority, else of nobody. Authorities and what answers are judged by are those of a `Sealer`."""
    watch = Watch()
    arena = watch.arena
    trust = trust_of(arena, roots, certificates, (), Revocation.AS_CONFIGURED, Strength.AS_CONFIGURED, None, False)
    options = arena.struct("chronoseal_sealer_options", **authorities_in_memory(arena, authorities), trust=trust)
    return tuple(watch.run(lambda: collected(
        lambda one: Diagnosis(text_of(one.area), Severity(one.severity), text_of(one.word), text_of(one.text),
                              text_of(one.advice)),
        lib.chronoseal_diagnose, options, ask, lib.chronoseal_python_diagnosis)))


def trusted_roots() -> Tuple[TrustedRoot, ...]:
    """The roots that count where a verifier is given none."""
    return tuple(collected(lambda one: TrustedRoot(certain(one.certificate), text_of(one.place)),
                           lib.chronoseal_trusted_roots, lib.chronoseal_python_root))


def trust_root(root: Data, sha256: bytes, place: Place = Place.USER) -> None:
    """Puts the one certificate of a file or of bytes among the trusted roots, if its SHA-256 is this one: a root is
    trusted by what one knows of it, not by where it came from. A process that has judged before notices within ten
    seconds."""
    arena = Arena()
    call(lib.chronoseal_trust_root, arena.sources(root), arena.bytes(sha256), len(sha256), place.value)


def distrust_root(sha256: bytes, place: Place = Place.USER) -> None:
    """Takes a root away from the trusted ones. An `Error` for one that lies elsewhere, such as those of the operating
    system."""
    arena = Arena()
    call(lib.chronoseal_distrust_root, arena.bytes(sha256), len(sha256), place.value)


def version() -> str:
    """Of the library in use."""
    return text_of(lib.chronoseal_version())
