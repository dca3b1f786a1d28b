"""What all tests of the package share: a live authority, whose address and root stand in the environment."""

import os
import pathlib

import chronoseal
import pytest

URL = os.environ["CHRONOSEAL_TEST_URL"]
ROOT = pathlib.Path(os.environ["CHRONOSEAL_TEST_ROOT"])


@pytest.fixture
def sealer(tmp_path):
    with chronoseal.Sealer(URL, roots=ROOT, first_wait=0.005, rate_file=tmp_path / "rates") as one:
        yield one


def word_of(function):
    with pytest.raises(chronoseal.Error) as caught:
        function()
    return caught.value.word
