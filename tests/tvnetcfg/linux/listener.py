# SPDX-License-Identifier: GPL-2.0-or-later
"""What a screen reader is told: the events of the accessibility bus."""
from story import Atspi, Gone, desktop, until

CONTEXT = desktop.gi.repository.GLib.MainContext.default()


class Event:
    """What happened to whom, as it was when it was heard."""

    def __init__(self, event):
        self.kind = event.type
        self.source = event.source
        self.detail = event.detail1
        try:
            self.role = event.source.get_role()
            self.names = {text for text in desktop.labels(event.source) if text}
            self.text = event.any_data if isinstance(event.any_data, str) else ""
        except Gone:  # with its window
            self.role, self.names, self.text = None, set(), ""

    def __repr__(self):
        return f"{self.kind} {self.detail} {self.role} {self.names} {self.text!r}"


class Listener:
    """Listens from its making, which must be before the program starts."""

    def __init__(self, kinds):
        self.events = []
        self.told = 0
        self.kinds = kinds
        self.listener = Atspi.EventListener.new(lambda event: self.events.append(Event(event)))
        for kind in kinds:
            self.listener.register(kind)

    def end(self):
        for kind in self.kinds:
            self.listener.deregister(kind)

    def hear(self):
        """All events until now."""
        while CONTEXT.iteration(False):
            pass
        return self.events

    def focus(self):
        """What got the focus last; None if nothing did."""
        return next((event.source for event in reversed(self.hear()) if event.detail == 1 and
                     event.kind == "object:state-changed:focused"), None)

    def expect(self, kind, role, text):
        """Waits for an event behind those expected so far, of something that is called so."""
        def find():
            behind = enumerate(self.hear()[self.told:], self.told)
            return next((place + 1 for place, event in behind if event.kind == kind and
                         event.role == role and (text in event.names or text == event.text)), None)

        self.told = until(find, f"{kind} of {role} {text!r} among {self.events[self.told:]}")
