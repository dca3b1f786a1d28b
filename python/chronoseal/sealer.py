"""Sealers: how stamps are got."""

from __future__ import annotations

import dataclasses
import datetime
import os
from typing import Any, Callable, Dict, Iterable, Iterator, List, Optional, Tuple, Union

from ._memory import BYTES, Arena, Sources, milliseconds_of, text_of
from ._native import ffi, lib
from .digest import Digest, Item, digest_of
from .error import Error, call, error_of
from .handle import Unchanging, bytes_made, made
from .stamp import Stamp, copy_of, stamp_of
from .stop import Listener, Progress, Stop, Watch, collected, interruptible
from .verifier import Revocation, Strength, trust_of

Path = Union[str, "os.PathLike[str]"]
Duration = Union[datetime.timedelta, float]


@dataclasses.dataclass(frozen=True)
class Authority:
    """How one time-stamp authority is reached. What the machine's policy denies is refused before anything is sent."""

    url: str
    login: Optional[Tuple[str, str]] = dataclasses.field(default=None, repr=False)  #: user and password
    login_file: Optional[Path] = None  #: a file "USER:PASSWORD" that only its owner can read
    netrc: Optional[Path] = None
    client_certificate: Optional[Path] = None  #: PEM
    client_key: Optional[Path] = None  #: None: it stands in the certificate's file
    ca_file: Optional[Path] = None  #: roots for TLS in place of the system's
    proxy: Optional[str] = None  #: None: the policy's; empty: a direct connection
    proxy_login: Optional[Tuple[str, str]] = dataclasses.field(default=None, repr=False)
    rate: Optional[Tuple[int, Duration]] = None  #: so many requests at most in this time
    timeout: Optional[Duration] = None  #: for one exchange
    proxy_login_file: Optional[Path] = None  #: in the place of `proxy_login`

    def in_memory(self, arena: Arena) -> Any:
        """The library's struct."""
        user, password = self.login or (None, None)
        proxy_user, proxy_password = self.proxy_login or (None, None)
        count, period = self.rate or (0, None)
        return arena.struct(
            "chronoseal_authority", url=arena.text(self.url), user=arena.text(user), password=arena.text(password),
            login_file=arena.path_if_any(self.login_file), netrc=arena.path_if_any(self.netrc),
            client_certificate=arena.path_if_any(self.client_certificate),
            client_key=arena.path_if_any(self.client_key), ca_file=arena.path_if_any(self.ca_file), proxy=arena.text(self.proxy), proxy_user=arena.text(proxy_user),
            proxy_password=arena.text(proxy_password), rate_count=count, rate_period_ms=milliseconds_of(period),
            timeout_ms=milliseconds_of(self.timeout), proxy_login_file=arena.path_if_any(self.proxy_login_file))


@dataclasses.dataclass(frozen=True)
class BatchResult:
    """What became of one item."""

    index: int
    item: Item
    stamps: Tuple[Stamp, ...]  #: as many as the quorum says, or none
    error: Optional[Error]


@dataclasses.dataclass(frozen=True)
class BatchSummary:
    stamped: int
    failed: int
    stopped: bool  #: it was ended by a stop; items may be left


#: One or several authorities, by address or with settings.
Authorities = Union[str, Authority, Iterable[Union[str, Authority]]]


class Sealer(Unchanging):
    """Gets time-stamps. Any number of threads may use one at once."""

    def __init__(self, authorities: Authorities = (), *, roots: Optional[Sources] = None,
                 certificates: Sources = (), evidence: Sources = (),
                 revocation: Revocation = Revocation.AS_CONFIGURED, strength: Strength = Strength.AS_CONFIGURED,
                 offline: bool = False, hash: Optional[str] = None, policy: Optional[str] = None,
                 nonce: Optional[bool] = None, ask_for_certificates: Optional[bool] = None, quorum: int = 1,
                 attempts: int = 3, first_wait: Optional[Duration] = None, longest_wait: Optional[Duration] = None,
                 rest: Optional[Duration] = None, clock_tolerance: Optional[Duration] = None, verify: bool = True,
                 only_requests: bool = False, rate_file: Optional[Path] = None) -> None:
        """Authorities are asked in their order, by address or with settings; none: those that the machine's
        configuration names. Answers are judged by `roots` to `offline`, as in `Verifier`. Everything that can be
        checked without an authority is checked here."""
        arena = Arena()
        options = arena.struct(
            "chronoseal_sealer_options", **authorities_in_memory(arena, authorities), hash=arena.text(hash),
            policy=arena.text(policy), nonce=_choice(nonce), certificates=_choice(ask_for_certificates), quorum=quorum,
            attempts=attempts, first_wait_ms=milliseconds_of(first_wait), longest_wait_ms=milliseconds_of(longest_wait),
            rest_ms=milliseconds_of(rest), clock_tolerance_ms=milliseconds_of(clock_tolerance),
            trust=trust_of(arena, roots, certificates, evidence, revocation, strength, None, offline),
            without_verification=not verify, only_requests=only_requests, rate_file=arena.path_if_any(rate_file))
        self._handle = made("chronoseal_sealer", lib.chronoseal_sealer_new, options)
        self._quorum = max(1, quorum)

    def seal(self, item: Item, *, progress: Optional[Progress] = None, stop: Optional[Stop] = None) -> Stamp:
        """A stamp for bytes, for a file by its name, or for a `Digest`, for which every check has passed. Raises the
        error of the last authority asked. One stamp, whatever the quorum: see `seal_quorum`."""
        watch = Watch(progress, stop)
        if isinstance(item, Digest):
            return self._get(watch, lib.chronoseal_seal_digest, item.in_memory(watch.arena))
        if isinstance(item, BYTES):
            data = watch.arena.bytes(item)
            return self._get(watch, lib.chronoseal_seal, data, len(data))
        return self._get(watch, lib.chronoseal_seal_file, watch.arena.path(item))

    def seal_quorum(self, item: Item, *, stop: Optional[Stop] = None) -> Tuple[Stamp, ...]:
        """As many stamps as the quorum says, by authorities with different keys, or an error and none."""
        watch = Watch(None, stop)
        digest = (item if isinstance(item, Digest) else self.digest(item, stop=watch.stop)).in_memory(watch.arena)
        stamps, count = ffi.new("chronoseal_stamp*[]", self._quorum), ffi.new("size_t*")
        handle = self._handle
        watch.run(lambda: call(lib.chronoseal_seal_quorum, handle, digest, watch.control, stamps, self._quorum, count))
        return tuple(stamp_of(stamps[i]) for i in range(count[0]))

    def send(self, request: bytes, *, stop: Optional[Stop] = None) -> Stamp:
        """Sends a finished TimeStampReq as it is, and judges the answer by it."""
        watch = Watch(None, stop)
        data = watch.arena.bytes(request)
        return self._get(watch, lib.chronoseal_send, data, len(data))

    def request(self, item: Item) -> bytes:
        """The DER of a TimeStampReq as the options make it, for another way to the authority."""
        arena = Arena()
        digest = (item if isinstance(item, Digest) else self.digest(item)).in_memory(arena)
        return bytes_made(lib.chronoseal_request, self._handle, digest)

    @property
    def authorities(self) -> Tuple[Authority, ...]:
        """In the order in which they are asked."""
        return tuple(collected(authority_of, lib.chronoseal_sealer_authorities, self._handle,
                               lib.chronoseal_python_authority))

    @property
    def hash(self) -> str:
        """The name of the algorithm by which this sealer hashes."""
        handle, place = self._handle, ffi.new("char**")
        call(lib.chronoseal_sealer_hash, handle, place)
        return text_of(place[0])

    def digest(self, item: Union[Path, bytes, bytearray, memoryview], *, progress: Optional[Progress] = None,
               stop: Optional[Stop] = None) -> Digest:
        """The hash of bytes or of a file by the sealer's algorithm."""
        if isinstance(item, BYTES):
            return Digest.of(item, self.hash)
        watch = Watch(progress, stop)
        out = ffi.new("chronoseal_digest*")
        path = watch.arena.path(item)
        handle = self._handle
        watch.run(lambda: call(lib.chronoseal_sealer_hash_file, handle, path, watch.control, out))
        return digest_of(out)

    def seal_all(self, items: Iterable[Item], done: Callable[[BatchResult], object], *, connections: int = 4,
                 stop: Optional[Stop] = None) -> BatchSummary:
        """Stamps all items over so many connections. `items` is gone through, and `done` called, on one thread at a
        time, which isn't the caller's; results come in no given order. What either raises ends the batch, and is
        raised."""
        stop = stop or Stop()
        batch = _Batch(iter(items), done)
        arena = Arena()
        struct = arena.struct(
            "chronoseal_batch", connections=connections, next=lib.chronoseal_python_next,
            done=lib.chronoseal_python_done, user=arena.keep(ffi.new_handle(batch)), stop=stop._handle)
        summary = ffi.new("chronoseal_batch_summary*")
        held = arena, self._handle, stop

        def work() -> None:
            batch.run(held[2], lambda: call(lib.chronoseal_seal_all, held[1], struct, summary))

        interruptible(stop, work)
        return BatchSummary(summary.stamped, summary.failed, summary.stopped != 0)

    def _get(self, watch: Watch, function: Any, *arguments: Any) -> Stamp:
        place, handle = ffi.new("chronoseal_stamp**"), self._handle
        watch.run(lambda: call(function, handle, *arguments, watch.control, place))
        return stamp_of(place[0])


def configured_authorities() -> Tuple[Authority, ...]:
    """Those that the machine's configuration names, or else the policy's default address; none if there is none."""
    return tuple(collected(authority_of, lib.chronoseal_configured_authorities, lib.chronoseal_python_authority))


def authorities_in_memory(arena: Arena, authorities: Authorities) -> Dict[str, Any]:
    """The members of the library's options."""
    if isinstance(authorities, (str, Authority)):
        authorities = [authorities]
    given = [Authority(one) if isinstance(one, str) else one for one in authorities]
    array = arena.keep(ffi.new("chronoseal_authority*[]", [one.in_memory(arena) for one in given]))
    return {"authorities": ffi.cast("chronoseal_authority**", array), "authority_count": len(given)}


def authority_of(struct: Any) -> Authority:
    def text(pointer: Any) -> Optional[str]:
        return None if pointer == ffi.NULL else text_of(pointer)

    def path(pointer: Any) -> Optional[str]:
        return None if pointer == ffi.NULL else os.fsdecode(ffi.string(pointer))

    def login(user: Any, password: Any) -> Optional[Tuple[str, str]]:
        return None if user == ffi.NULL else (text_of(user), text_of(password))

    def duration(milliseconds: int) -> datetime.timedelta:
        return datetime.timedelta(milliseconds=milliseconds)

    return Authority(
        text_of(struct.url), login(struct.user, struct.password), path(struct.login_file), path(struct.netrc),
        path(struct.client_certificate), path(struct.client_key), path(struct.ca_file), text(struct.proxy),
        login(struct.proxy_user, struct.proxy_password),
        (struct.rate_count, duration(struct.rate_period_ms)) if struct.rate_count else None,
        duration(struct.timeout_ms) if struct.timeout_ms else None, path(struct.proxy_login_file))


def _choice(choice: Optional[bool]) -> int:
    if choice is None:
        return int(lib.CHRONOSEAL_BY_DEFAULT)
    return int(lib.CHRONOSEAL_YES if choice else lib.CHRONOSEAL_NO)


class _Batch(Listener):
    """One batch under way. The library calls it on one thread at a time."""

    def __init__(self, items: Iterator[Item], done: Callable[[BatchResult], object]) -> None:
        super().__init__()
        self._items = items
        self._done = done
        self._given = 0
        self._under_way: Dict[int, Item] = {}

    def next(self, place: Any) -> int:
        found: List[Item] = []
        arena = Arena()  # the library copies the item at once, but not before this returns

        def take() -> None:
            for item in self._items:
                if isinstance(item, Digest):
                    place.digest = item.in_memory(arena)
                elif isinstance(item, BYTES):
                    data = arena.bytes(item)
                    place.data, place.size = data, len(data)
                else:
                    place.path = arena.path(item)
                found.append(item)
                return

        if not self.guarded(take):
            return int(lib.CHRONOSEAL_ABORT)
        if not found:
            return int(lib.CHRONOSEAL_END)
        self._latest = arena
        self._under_way[self._given] = found[0]
        self._given += 1
        return int(lib.CHRONOSEAL_GO_ON)

    def take(self, result: Any) -> int:
        def give() -> None:
            item = self._under_way.pop(result.index)
            stamps = tuple(copy_of(result.stamps[i]) for i in range(result.stamp_count))
            error = None if result.error == ffi.NULL else error_of(result.error)
            self._done(BatchResult(result.index, item, stamps, error))

        return int(lib.CHRONOSEAL_GO_ON if self.guarded(give) else lib.CHRONOSEAL_ABORT)


@ffi.def_extern(error=lib.CHRONOSEAL_ABORT)  # type: ignore[misc]
def chronoseal_python_next(user: Any, item: Any) -> int:
    batch: _Batch = ffi.from_handle(user)
    return batch.next(item)


@ffi.def_extern(error=lib.CHRONOSEAL_ABORT)  # type: ignore[misc]
def chronoseal_python_done(user: Any, result: Any) -> int:
    batch: _Batch = ffi.from_handle(user)
    return batch.take(result)
