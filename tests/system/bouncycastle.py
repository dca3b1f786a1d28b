"""BouncyCastle as a second reader: the Java programs beside this file, compiled once for a workspace."""

import os
import pathlib
import shutil
import subprocess

from program import run_tool

JARS = [f"/usr/share/java/{name}.jar" for name in ("bcpkix", "bcprov", "bcutil")]
MISSING = (not shutil.which("javac") or not all(map(os.path.exists, JARS)),
           "BouncyCastle (libbcpkix-java, default-jdk-headless) isn't there")


def run(workspace, name, *words, stdin=""):
    """What the program prints; it ends with an exception at any doubt."""
    classes = workspace.path / "classes"
    if not (classes / f"{name}.class").exists():
        source = pathlib.Path(__file__).with_name(f"{name}.java")
        subprocess.run(["javac", "-nowarn", "-cp", ":".join(JARS), "-d", classes, source], check=True, capture_output=True)
    return run_tool("java", "-cp", ":".join([*JARS, str(classes)]), name, *words, input=stdin, timeout=300)
