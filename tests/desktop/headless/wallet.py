# SPDX-License-Identifier: MIT
"""Plasma's wallet, which starts when a program asks for it."""

from .waiting import eventually

_WALLET = "Default keyring"
_SERVICE = ("org.kde.kwalletd5", "/modules/kwalletd5", "org.kde.KWallet")
_TITLE = "KDE Wallet Service"
# It is offered as a Secret Service as well.
_SETTINGS = f"""\
[Wallet]
Default Wallet={_WALLET}
Enabled=true
First Use=false
Use One Wallet=true
[org.freedesktop.secrets]
apiEnabled=true
"""


class Wallet:
    """KWallet without a wallet; it asks for a password when a first secret is stored."""

    startable = (_SERVICE[0],)

    def __init__(self, session, _):
        self._session = session

    def start(self):
        """Only chooses its settings: the bus starts it."""
        path = f"{self._session.environment['XDG_CONFIG_HOME']}/kwalletrc"
        with open(path, "w", encoding="utf-8") as file:
            file.write(_SETTINGS)

    def lock(self):
        self._session.bus.call(*_SERVICE, "close", "(sb)", _WALLET, True)
        eventually(lambda: self.is_locked, "the wallet to close")

    def is_asking(self):
        """Whether it shows a question, which takes the keys."""
        bus = self._session.bus
        if not bus.has(_SERVICE[0]):
            return False
        pid = bus.process_of(_SERVICE[0])
        return any(window.pid == pid and window.is_active for window in self._session.windows.list())

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
        return self._session.accessibility.program(self._session.bus.process_of(_SERVICE[0]))

    @property
    def is_locked(self):
        return not self._session.bus.call(*_SERVICE, "isOpen", "(s)", _WALLET)[0]
