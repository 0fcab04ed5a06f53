#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Uses the gallery as somebody with a screen reader and a keyboard would.

    gallery_test.py PROGRAM

Ends with 0, with 1 if something isn't as it should be, with 77 if the accessibility library is
missing.
"""
import os
import subprocess
import sys
import time
import warnings

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "support"))
warnings.simplefilter("ignore", DeprecationWarning)
try:
    import gi

    gi.require_version("Atspi", "2.0")
    from gi.repository import Atspi

    from desktop import children, walk
except (ImportError, ValueError):
    print("python3-gi or gir1.2-atspi-2.0 is missing")
    sys.exit(77)

SECONDS = 20
WINDOWS = {Atspi.Role.FRAME, Atspi.Role.DIALOG, Atspi.Role.ALERT}


def shown(node):
    return node.get_state_set().contains(Atspi.StateType.SHOWING)


def until(find, what):
    end = time.monotonic() + SECONDS
    while time.monotonic() < end:
        try:
            found = find()
        except gi.repository.GLib.Error:
            found = None
        if found:
            return found
        time.sleep(0.05)
    raise AssertionError(f"waited in vain: {what}")


def all_windows(title):
    for application in children(Atspi.get_desktop(0)):
        for found in children(application):
            if found.get_role() in WINDOWS and found.get_name() == title and shown(found):
                yield found


def window(title):
    return until(lambda: next(all_windows(title), None), f"window {title!r}")


def gone(title):
    until(lambda: next(all_windows(title), None) is None, f"the end of window {title!r}")


def label(node):
    for relation in node.get_relation_set():
        if relation.get_relation_type() == Atspi.RelationType.LABELLED_BY:
            return relation.get_target(0).get_name()
    return None


def find(top, role, name):
    return until(lambda: next((node for node in walk(top) if node.get_role() == role and
                               name in (node.get_name(), label(node)) and shown(node)), None),
                 f"{role} {name!r}")


def press(top, name, role=Atspi.Role.PUSH_BUTTON):
    find(top, role, name).get_action_iface().do_action(0)


def text(node):
    return Atspi.Text.get_text(node, 0, -1)


def labels(top):
    return [text(node) for node in walk(top) if node.get_role() == Atspi.Role.LABEL and shown(node)]


def sensitive(node):
    return node.get_state_set().contains(Atspi.StateType.SENSITIVE)


def focused(node):
    return node.get_state_set().contains(Atspi.StateType.FOCUSED)


def expect(condition, what):
    if not condition:
        raise AssertionError(what)


def key(symbol):
    Atspi.generate_keyboard_event(symbol, None, Atspi.KeySynthType.SYM)


def address_is_one_editable_text(gallery):
    for name, shown_text in (("Full:", "192.168.100.254"), ("Partial:", "192..7."), ("Blank:", "")):
        entry = find(gallery, Atspi.Role.TEXT, name)
        expect(text(entry) == shown_text, f"{name} reads {text(entry)!r}")
    blank = find(gallery, Atspi.Role.TEXT, "Blank:")
    Atspi.EditableText.set_text_contents(blank, "10.1.2.3")
    until(lambda: text(blank) == "10.1.2.3", "the address that was set")
    Atspi.EditableText.set_text_contents(blank, "10.1.2.256")
    until(lambda: text(blank) == "", "an address that isn't one is refused")


def address_is_typed_key_by_key(gallery):
    blank = find(gallery, Atspi.Role.TEXT, "Blank:")
    Atspi.Component.grab_focus(blank)
    until(lambda: focused(blank), "the focus in the entry")
    for character in "192168.1.7":
        key(ord(character))
    until(lambda: text(blank) == "192.168.1.7", f"typed address, got {text(blank)!r}")


def radio_button_explains_itself(gallery):
    radio = find(gallery, Atspi.Role.RADIO_BUTTON, "Described")
    expect(radio.get_description() ==
           "Virtual machines connect directly to your external network", "radio's description")


def widgets_follow_their_buttons(gallery):
    held = until(lambda: next((node for node in walk(gallery)
                               if node.get_role() == Atspi.Role.TEXT and
                               text(node) == "Follows its radio button"), None), "held entry")
    expect(not sensitive(held), "held entry is sensitive too early")
    press(gallery, "With a widget", Atspi.Role.RADIO_BUTTON)
    until(lambda: sensitive(held), "held entry follows its radio button")


def groups_have_names(gallery):
    for name in ("Buttons", "Addresses", "Check Buttons", "Radio Buttons", "Dialogs"):
        find(gallery, Atspi.Role.PANEL, name)


def error_is_an_alert(gallery):
    press(gallery, "Error...")
    error = window("Error")
    expect(error.get_role() == Atspi.Role.ALERT, f"role {error.get_role()}")
    expect("<b>Not</b> saved & lost." in labels(error), f"texts {labels(error)}")
    press(error, "Close")
    gone("Error")


def escape_ends_an_error(gallery):
    press(gallery, "Error...")
    close = find(window("Error"), Atspi.Role.PUSH_BUTTON, "Close")
    until(lambda: focused(close), "the focus on the one button")
    key(0xff1b)
    gone("Error")


def question_gives_its_answer(gallery):
    for button, answer in (("Remove", "Answer 0"), ("Keep", "Answer 1")):
        press(gallery, "Question...")
        press(window("Question"), button)
        gone("Question")
        until(lambda: answer in labels(gallery), answer)


def sample_refuses_and_saves(gallery):
    press(gallery, "Sample...")
    sample = window("Sample")
    expect(sample.get_role() == Atspi.Role.DIALOG, f"role {sample.get_role()}")
    save = find(sample, Atspi.Role.PUSH_BUTTON, "Save")
    expect(not sensitive(save), "Save is on without a note")
    Atspi.EditableText.set_text_contents(find(sample, Atspi.Role.TEXT, "Note:"), "web")
    until(lambda: sensitive(save), "Save is on with a note")
    press(sample, "Save")
    error = window("Error")
    expect("The address must not be blank." in labels(error), f"texts {labels(error)}")
    press(error, "Close")
    gone("Error")
    Atspi.EditableText.set_text_contents(find(sample, Atspi.Role.TEXT, "Address:"), "10.0.0.1")
    press(sample, "Save")
    gone("Sample")


def unknown_help_is_an_error(gallery):
    press(gallery, "Unknown Help...")
    error = window("Error")
    expect('There is no help on "IDH_NOTHING".' in labels(error), f"texts {labels(error)}")
    press(error, "Close")
    gone("Error")


STORIES = (address_is_one_editable_text, address_is_typed_key_by_key,
           radio_button_explains_itself, widgets_follow_their_buttons, groups_have_names,
           error_is_an_alert, escape_ends_an_error, question_gives_its_answer,
           sample_refuses_and_saves, unknown_help_is_an_error)


def main(program):
    failed = 0
    process = subprocess.Popen([program])
    try:
        gallery = window("Gallery")
        for story in STORIES:
            try:
                story(gallery)
                print(f"ok {story.__name__}")
            except (AssertionError, gi.repository.GLib.Error) as reason:
                print(f"FAILED {story.__name__}: {reason}")
                failed = 1
        press(gallery, "Close")
        expect(process.wait(SECONDS) == 0, f"the gallery ended with {process.returncode}")
    finally:
        process.kill()
        process.wait()
    return failed


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
