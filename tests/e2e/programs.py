"""Where the programs under test are, and an environment of their own."""

import os
import pathlib
import tempfile
import unittest

from caster import Caster
from hub import Hub

BINARIES = pathlib.Path(os.environ["TESSEL_BUILD"]) / "bin"


class ProgramTest(unittest.TestCase):
    """A test with a folder of its own, where the programs also keep their configuration."""

    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = pathlib.Path(temporary.name)
        self.env = {"TESSEL_SHARED_FOLDER": str(self.folder / "shared"),
                    "XDG_CONFIG_HOME": str(self.folder / "config"), "DISPLAY": "",
                    "WAYLAND_DISPLAY": "", "XDG_SESSION_TYPE": "tty"}

    def hub(self, address, *options):
        """A headless hub that runs until the test ends."""
        hub = Hub(str(BINARIES / "tessel-hub"), address, "--headless", *map(str, options))
        self.addCleanup(hub.stop)
        return hub.__enter__()

    def cast(self, *arguments, **env):
        """A cast that runs until the test ends."""
        caster = Caster(str(BINARIES / "tessel"), *map(str, arguments), env=dict(self.env, **env))
        self.addCleanup(caster.end)
        return caster
