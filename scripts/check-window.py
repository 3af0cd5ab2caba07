# SPDX-License-Identifier: GPL-3.0-or-later
"""Drives the Quillbrook window as a user with a screen reader and a keyboard
does: controls are found by their accessible names on the AT-SPI bus and
pressed or toggled through their actions, text is typed and clicks are made
with xdotool. Run by scripts/check-window, inside Xvfb and a D-Bus session.

Prints one line per check and exits 1 when one failed."""

import json
import os
import signal
import subprocess
import sys
import time

import pyatspi

APP, WORK = sys.argv[1], sys.argv[2]
failures = []


def check(what, ok, detail=""):
    print(("ok    " if ok else "FAIL  ") + what + (f"  ({detail})" if detail else ""), flush=True)
    if not ok:
        failures.append(what)


def wait_for(find, seconds=20.0):
    end = time.time() + seconds
    while time.time() < end:
        found = find()
        if found:
            return found
        time.sleep(0.1)
    return None


def application():
    for app in pyatspi.Registry.getDesktop(0):
        if app is not None and app.name == "Quillbrook":
            return app
    return None


def find(root, name=None, role=None, showing=True):
    def matches(node):
        if node is None:
            return False
        if name is not None and node.name != name:
            return False
        if role is not None and node.getRoleName() != role:
            return False
        return not showing or node.getState().contains(pyatspi.STATE_SHOWING)

    return pyatspi.findDescendant(root, matches)


def window(name):
    app = application()
    if app is None:
        return None
    for child in app:
        if child is not None and child.name == name and \
                child.getState().contains(pyatspi.STATE_VISIBLE):
            return child
    return None


def act(node, action):
    actions = node.queryAction()
    for i in range(actions.nActions):
        if actions.getName(i) == action:
            return actions.doAction(i)
    raise RuntimeError(f"{node.name} has no action {action}")


def text_of(node):
    try:
        text = node.queryText()
        return text.getText(0, text.characterCount)
    except NotImplementedError:
        return node.name


def click(node):
    x, y, w, h = node.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
    subprocess.run(["xdotool", "mousemove", str(x + w // 2), str(y + h // 2), "click", "1"],
                   check=True)
    time.sleep(0.3)


def keys(*sequence):
    subprocess.run(["xdotool", "key", "--delay", "40", *sequence], check=True)
    time.sleep(0.3)


def typed(text):
    subprocess.run(["xdotool", "type", "--delay", "40", text], check=True)
    time.sleep(0.2)


def main_window():
    app = application()
    if app is None:
        return None
    for child in app:
        if child is not None and child.name.endswith("Quillbrook"):
            return child
    return None


def focused(root):
    return pyatspi.findDescendant(
        root, lambda n: n is not None and n.getState().contains(pyatspi.STATE_FOCUSED))


def xmp_titles(folder):
    read = subprocess.run(["exiftool", "-j", "-XMP:Title", folder], capture_output=True,
                          text=True).stdout
    return {os.path.basename(i["SourceFile"]): i.get("Title") for i in json.loads(read or "[]")}


app_process = subprocess.Popen([APP, os.path.join(WORK, "sample.qbmap")],
                               stdout=subprocess.DEVNULL, stderr=open(os.path.join(WORK, "log"), "w"))
try:
    frame = wait_for(main_window)
    check("the window is on the accessibility bus", frame is not None)
    if frame is None:
        sys.exit(1)

    # 1. Typing into a rule field and committing it three ways.
    for typed_text, commit in (("|", "Return"), ("/", "Tab"), (";", "click")):
        field = wait_for(lambda: find(frame, "Delimiter", "text"))
        click(field)
        keys("ctrl+a")
        typed(typed_text)
        if commit == "click":
            click(find(frame, "File", "text"))
        else:
            keys(commit)
        time.sleep(0.5)
        alive = app_process.poll() is None
        check(f"a delimiter committed with {commit} is kept and the app lives",
              alive and text_of(find(frame, "Delimiter", "text")) == typed_text,
              "exited" if not alive else text_of(find(frame, "Delimiter", "text")))
        if not alive:
            sys.exit(1)
    check("the document shows as edited", "*" in main_window().name, main_window().name)

    # 2. The write method chosen through the radio button's toggle action.
    act(wait_for(lambda: find(frame, "Preferences\u2026", "menu item", showing=False)), "Press")
    preferences = wait_for(lambda: window("Preferences"))
    check("the preferences are a named window", preferences is not None)
    act(find(preferences, "Into XMP sidecar files", "radio button"), "Toggle")
    time.sleep(0.3)
    description = find(preferences, None, "label")
    labels = [text_of(n) for n in pyatspi.findAllDescendants(
        preferences, lambda n: n is not None and n.getRoleName() == "label")]
    check("the description follows the toggled method",
          "Use Exiftool to write metadata as XMP sidecar files." in labels, "; ".join(labels))
    # A popup is read by its current item; its description says what it is.
    named = pyatspi.findDescendant(preferences, lambda n: n is not None and
                                   n.description == "Sidecar file name")
    check("the sidecar popup is enabled for sidecars",
          named is not None and named.getState().contains(pyatspi.STATE_ENABLED),
          "not found" if named is None else named.getRoleName())
    act(find(preferences, "Directly into the image files", "radio button"), "Toggle")
    act(find(preferences, "Close", "push button"), "Press")

    # 3. Images chosen by typing a folder into the dialog and pressing Return.
    act(find(frame, "Select images", "push button"), "Press")
    dialog = wait_for(lambda: window("Select Images"))
    check("the image dialog is a named window", dialog is not None)
    name_field = wait_for(lambda: find(dialog, None, "text"))
    click(name_field)
    typed(os.path.join(WORK, "images"))
    time.sleep(1.0)
    keys("Return")
    check("the dialog is gone after Return", wait_for(lambda: window("Select Images") is None
                                                      and "gone") is not None)

    # 3b. The images table reads each row as one sentence, and Ctrl+F searches.
    def row_reading(prefix):
        table = find(frame, "Images", "table")
        return table and pyatspi.findDescendant(
            table, lambda n: n is not None and n.name.startswith(prefix))

    cell = wait_for(lambda: row_reading("A101_0001.jpg, A101, Will be written, "))
    check("the images table reads a row with its key and what the write does",
          cell is not None, "" if cell is None else cell.name)
    popups = ["%s [%s]" % (n.name, n.description) for n in pyatspi.findAllDescendants(
        frame, lambda n: n is not None and n.getRoleName() == "combo box")]
    check("the table's filter popup says what it chooses", "All [Show images]" in popups,
          "; ".join(popups))
    search = find(frame, "Search images by name or key")
    check("the search field has a name", search is not None)
    click(find(frame, "Images", "table"))
    keys("ctrl+f")
    now = focused(frame)
    check("Ctrl+F goes to the search field",
          now is not None and now.name == "Search images by name or key",
          "?" if now is None else now.name)
    keys("Escape")

    # 4. The next click reaches Assign Metadata, and the window tells the outcome.
    assign = find(frame, "Assign Metadata", "push button")
    click(assign)
    names = set()
    end = time.time() + 30
    status = ""
    while time.time() < end:
        button = find(frame, None, "push button", showing=False)
        names.update(n.name for n in pyatspi.findAllDescendants(
            frame, lambda n: n is not None and n.getRoleName() == "push button"))
        labels = [text_of(n) for n in pyatspi.findAllDescendants(
            frame, lambda n: n is not None and n.getRoleName() == "label")]
        status = next((l for l in labels if l.startswith("Last write")), "")
        if status:
            break
        time.sleep(0.05)
    titles = xmp_titles(os.path.join(WORK, "images"))
    check("the click after the dialog wrote the images", titles.get("A101_0001.jpg") is not None,
          str(titles))
    check("the status line reads exiftool's counts", status.startswith("Last write:"), status)
    cell = wait_for(lambda: row_reading("A101_0001.jpg, A101, Written"))
    check("the table reads the outcome on the row", cell is not None)
    print("      button names seen: " + ", ".join(sorted(names & {"Working\u2026", "Assign Metadata"})))

    # 5. The shot list is a named window whose counts read as numbers.
    act(find(frame, "Show the shot list", "push button"), "Press")
    shots = wait_for(lambda: window("Shot List"))
    check("the shot list is a named window on the bus", shots is not None)
    if shots is not None:
        counts = [text_of(n) for n in pyatspi.findAllDescendants(
            shots, lambda n: n is not None and n.getRoleName() == "label")]
        check("its counts read with their numbers", "3" in counts and "2" in counts, str(counts))
        keys("Escape")
        check("Escape closes it", wait_for(lambda: window("Shot List") is None and "gone"))

    # 6. Tab from the file field, as a keyboard user reads the window.
    click(find(frame, "File", "text"))
    order = []
    for _ in range(14):
        keys("Tab")
        now = focused(frame)
        order.append(("%s [%s]" % (now.name, now.description) if now.description else now.name)
                     if now is not None else "?")
    print("      Tab visits: " + " > ".join(order))

    # 7. A logout's SIGTERM with unsaved changes would ask; save, then end it.
    keys("ctrl+s")
    time.sleep(0.5)
    app_process.send_signal(signal.SIGTERM)
    try:
        status = app_process.wait(20)
    except subprocess.TimeoutExpired:
        status = None
    check("SIGTERM with nothing to save quits at once, exit status 0", status == 0, str(status))
finally:
    if app_process.poll() is None:
        app_process.kill()

print("all checks passed" if not failures else f"{len(failures)} checks failed")
sys.exit(1 if failures else 0)
