# SPDX-License-Identifier: MIT
"""Plasma's wallet, which starts when a program asks for it, or at a login."""

import hashlib
import os
import socket

from .bus import BusError
from .keyring import PASSWORD, SecretService
from .waiting import eventually

_SERVICE = ("org.kde.kwalletd5", "/modules/kwalletd5", "org.kde.KWallet")
_TITLE = "KDE Wallet Service"
# It is offered as a Secret Service as well.
_SETTINGS = """\
[Wallet]
Default Wallet={name}
Enabled=true
First Use=false
Use One Wallet=true
[org.freedesktop.secrets]
apiEnabled=true
"""
# How the password of a login becomes the key of a wallet.
_ROUNDS = 50000
_BYTES = 56


class Wallet(SecretService):
    """KWallet without a wallet; it asks for a password when a first secret is stored."""

    # As programs name the one that they make.
    wallet = "Default keyring"
    startable = (_SERVICE[0],)

    def __init__(self, session, _):
        self.session = session

    def start(self):
        """Only chooses its settings: the bus starts it."""
        path = f"{self.session.environment['XDG_CONFIG_HOME']}/kwalletrc"
        with open(path, "w", encoding="utf-8") as file:
            file.write(_SETTINGS.format(name=self.wallet))

    def lock(self):
        self.session.bus.call(*_SERVICE, "close", "(sb)", self.wallet, True)
        eventually(lambda: self.is_locked, "the wallet to close")

    def is_asking(self):
        """Whether it shows a question, which takes the keys."""
        bus = self.session.bus
        if not bus.has(_SERVICE[0]):
            return False
        pid = bus.process_of(_SERVICE[0])
        return any(window.pid == pid and window.is_active for window in self.session.windows.list())

    def permit_creation(self, password):
        """Answers the questions about the first wallet as a user would."""
        questions = self._questions()
        questions.find("radio button", "Classic, blowfish encrypted file").do("Toggle")
        questions.find("push button", "Finish").press()
        self.enter(password)

    def enter(self, password):
        """Answers the question for the password, or for a new one."""
        question = self._questions().find("dialog", _TITLE)
        for field in eventually(lambda: question.all("text"), "the fields for the password"):
            field.write(password)
        question.find("push button", "OK").press()

    def _questions(self):
        eventually(self.is_asking, "a question of the wallet")
        return self.session.accessibility.program(self.session.bus.process_of(_SERVICE[0]))

    @property
    def is_locked(self):
        return not self.session.bus.call(*_SERVICE, "isOpen", "(s)", self.wallet)[0]


class LoginWallet(Wallet):
    """KWallet as it is after a login, whose password has opened the wallet without a question.

    It is the second login: the first one makes the wallet, which is offered as a Secret Service from the next one on.
    """

    wallet = "kdewallet"

    def start(self):
        super().start()
        key = self._key()
        self._log_in(key).end()
        eventually(lambda: not self.session.bus.has(_SERVICE[0]), "the wallet to leave the bus")
        self._log_in(key)

    def permit_creation(self, password):
        """Does nothing: nothing is asked."""

    def _key(self):
        """The key that the password of the login gives, with a salt of this wallet."""
        folder = f"{self.session.environment['XDG_DATA_HOME']}/kwalletd"
        os.makedirs(folder)
        salt = os.urandom(_BYTES)
        with open(f"{folder}/{self.wallet}.salt", "wb") as file:
            file.write(salt)
        return hashlib.pbkdf2_hmac("sha512", PASSWORD.encode(), salt, _ROUNDS, _BYTES)

    def _log_in(self, key):
        """Starts the wallet before the desktop, as a login does, which passes on the key and then the environment."""
        path = f"{self.session.runtime_folder}/wallet"
        reader, writer = os.pipe()
        with socket.socket(socket.AF_UNIX) as server, socket.socket(socket.AF_UNIX) as client:
            server.bind(path)
            server.listen()
            descriptors = (reader, server.fileno())
            program = self.session.launch(
                "wallet", ["kwalletd5", "--pam-login", *map(str, descriptors)], descriptors=descriptors,
                environment=self.session.environment | {"PAM_KWALLET5_LOGIN": path})  # fmt: skip
            os.close(reader)
            with os.fdopen(writer, "wb") as pipe:
                pipe.write(key)
            client.connect(path)
            client.sendall("".join(f"{name}={value}\n" for name, value in self.session.environment.items()).encode())
        os.remove(path)
        program.until(self._is_open)
        return program

    def _is_open(self):
        # A call before it has its name would start another one.
        try:
            return self.session.bus.has(_SERVICE[0]) and not self.is_locked
        except BusError:
            return False
