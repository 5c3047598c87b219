# SPDX-License-Identifier: MIT
"""An XSMP session manager, which asks the programs of a session to save and to end."""

import ctypes
import select

_EVERYTHING = (1 << 10) - 1
_SAVE_LOCAL = 1
_NO_INTERACTION = 0
_ERROR_ROOM = 256

_Pointer = ctypes.c_void_p
_NewClient = ctypes.CFUNCTYPE(ctypes.c_int, _Pointer, _Pointer, ctypes.POINTER(ctypes.c_ulong), _Pointer, _Pointer)
_Register = ctypes.CFUNCTYPE(ctypes.c_int, _Pointer, _Pointer, _Pointer)
_Notice = ctypes.CFUNCTYPE(None, _Pointer, _Pointer, ctypes.c_int)
_Properties = ctypes.CFUNCTYPE(None, _Pointer, _Pointer, ctypes.c_int, _Pointer)
_Closed = ctypes.CFUNCTYPE(None, _Pointer, _Pointer, ctypes.c_int, _Pointer)
_MayConnect = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_char_p)
_Fatal = ctypes.CFUNCTYPE(None, _Pointer)


class SessionManager:
    """Programs connect to `address`. `serve` handles their messages and must be called repeatedly."""

    def __init__(self):
        self._ice = ctypes.CDLL("libICE.so.6")
        self._sm = ctypes.CDLL("libSM.so.6")
        for name in ("IceAcceptConnection", "SmsClientID", "SmsGetIceConnection"):
            getattr(self._sm if name.startswith("Sms") else self._ice, name).restype = _Pointer
        self._ice.IceComposeNetworkIdList.restype = ctypes.c_char_p
        self._connections, self._clients, self.saved = [], [], 0
        self._keep_callbacks()
        error = ctypes.create_string_buffer(_ERROR_ROOM)
        if not self._sm.SmsInitialize(
            b"velmora tests", b"1", self._new_client, None, self._may_connect, _ERROR_ROOM, error
        ):
            raise RuntimeError(error.value.decode())
        # By default libICE ends the process when a connection breaks.
        self._ice.IceSetIOErrorHandler(self._ignored)
        count, self._listeners = ctypes.c_int(), ctypes.POINTER(_Pointer)()
        if not self._ice.IceListenForConnections(
            ctypes.byref(count), ctypes.byref(self._listeners), _ERROR_ROOM, error
        ):
            raise RuntimeError(error.value.decode())
        self._count = count.value
        for listener in self._listeners[: self._count]:
            self._ice.IceSetHostBasedAuthProc(_Pointer(listener), self._may_connect)
        self.address = self._ice.IceComposeNetworkIdList(self._count, self._listeners).decode()

    @property
    def clients(self):
        """The number of connected programs."""
        return len(self._clients)

    def serve(self):
        """Handles all messages that have arrived."""
        sources = {self._ice.IceGetListenConnectionNumber(_Pointer(one)): one for one in self._listeners[: self._count]}
        sources |= {self._ice.IceConnectionNumber(_Pointer(one)): one for one in self._connections}
        for number in select.select(list(sources), [], [], 0)[0]:
            source = _Pointer(sources[number])
            if sources[number] not in self._connections:
                accepted = self._ice.IceAcceptConnection(source, ctypes.byref(ctypes.c_int()))
                self._connections += [accepted] if accepted else []
            elif self._ice.IceProcessMessages(source, None, None) != 0:
                self._connections.remove(sources[number])

    def save(self):
        """Asks all programs to save, as at the end of a session."""
        self.saved = 0
        for client in self._clients:
            self._sm.SmsSaveYourself(_Pointer(client), _SAVE_LOCAL, True, _NO_INTERACTION, False)

    def end_session(self):
        """Tells all programs to end."""
        for client in self._clients:
            self._sm.SmsDie(_Pointer(client))

    def close(self):
        self._ice.IceFreeListenObjs(self._count, self._listeners)

    def _keep_callbacks(self):
        self._new_client = _NewClient(self._greet)
        self._may_connect = _MayConnect(lambda host: 1)
        self._ignored = _Fatal(lambda connection: None)
        # In the order of the library's structure, each followed by its client data.
        self._callbacks = [
            _Register(self._register),
            _Notice(lambda client, data, kind: None),
            _Notice(lambda client, data, is_cancelled: None),
            _Notice(lambda client, data, kind: None),
            _Notice(lambda client, data, kind: self._sm.SmsSaveYourselfPhase2(_Pointer(client))),
            _Notice(self._note_saved),
            _Closed(lambda client, data, count, reasons: self._clients.remove(client)),
            _Properties(lambda client, data, count, properties: None),
            _Properties(lambda client, data, count, names: None),
            _Notice(lambda client, data, kind: None),
        ]

    def _greet(self, client, data, mask, callbacks, reason):
        slots = ctypes.cast(callbacks, ctypes.POINTER(_Pointer))
        for place, callback in enumerate(self._callbacks):
            slots[2 * place] = ctypes.cast(callback, _Pointer)
            slots[2 * place + 1] = None
        mask[0] = _EVERYTHING
        return 1

    def _register(self, client, data, previous):
        if previous:
            return 0
        name = self._sm.SmsGenerateClientID
        name.restype = _Pointer
        self._sm.SmsRegisterClientReply(_Pointer(client), _Pointer(name(_Pointer(client))))
        self._clients.append(client)
        self._sm.SmsSaveYourself(_Pointer(client), _SAVE_LOCAL, False, _NO_INTERACTION, False)
        return 1

    def _note_saved(self, client, data, is_done):
        self.saved += 1
        self._sm.SmsSaveComplete(_Pointer(client))
