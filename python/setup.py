"""What pyproject.toml can't say: the module in C, made against the library that pkg-config finds."""

from setuptools import setup

setup(cffi_modules=["build_native.py:builder"])
