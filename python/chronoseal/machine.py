"""The machine's policy and health."""

from __future__ import annotations

import dataclasses
import enum
from typing import Any, List, Tuple

from ._memory import text_of
from ._native import ffi, lib
from .error import call


@dataclasses.dataclass(frozen=True)
class Setting:
    """One key of the configuration."""

    key: str
    value: str
    source: str  #: the file; empty: built in
    problem: str  #: empty: none
    fatal: bool


@dataclasses.dataclass(frozen=True)
class MachinePolicy:
    usable: bool  #: requests are possible
    settings: Tuple[Setting, ...]


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


def policy() -> MachinePolicy:
    """What is in force on this machine for this user."""
    settings: List[Setting] = []
    user, usable = ffi.new_handle(settings), ffi.new("int*")
    call(lib.chronoseal_policy, lib.chronoseal_python_setting, user, usable)
    return MachinePolicy(usable[0] != 0, tuple(settings))


def diagnose() -> Tuple[Diagnosis, ...]:
    """What would make a stamp or a verification fail on this machine, and what is well. Nobody is asked."""
    diagnoses: List[Diagnosis] = []
    user = ffi.new_handle(diagnoses)
    call(lib.chronoseal_diagnose, ffi.NULL, 0, lib.chronoseal_python_diagnosis, user)
    return tuple(diagnoses)


def version() -> str:
    """Of the library in use."""
    return text_of(lib.chronoseal_version())


@ffi.def_extern(error=1)  # type: ignore[misc]
def chronoseal_python_setting(user: Any, setting: Any) -> int:
    settings: List[Setting] = ffi.from_handle(user)
    settings.append(Setting(text_of(setting.key), text_of(setting.value), text_of(setting.source),
                            text_of(setting.problem), setting.fatal != 0))
    return 0


@ffi.def_extern(error=1)  # type: ignore[misc]
def chronoseal_python_diagnosis(user: Any, diagnosis: Any) -> int:
    diagnoses: List[Diagnosis] = ffi.from_handle(user)
    diagnoses.append(Diagnosis(text_of(diagnosis.area), Severity(diagnosis.severity), text_of(diagnosis.word),
                               text_of(diagnosis.text), text_of(diagnosis.advice)))
    return 0
