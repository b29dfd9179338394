#!/usr/bin/python3
"""demo.py 3|4: the form of demo-qt6 in that version of GTK. It reports what is done to it as demo-qt6 does, one
flushed line for every effect."""

import sys

import gi

gi.require_version("Gtk", sys.argv[1] + ".0")
from gi.repository import Gio, GLib, Gtk  # noqa: E402

IS_4 = sys.argv[1] == "4"


def report(*words):
    print(*words, flush=True)


def put(box, widget):
    box.append(widget) if IS_4 else box.pack_start(widget, False, False, 0)
    return widget


def row(form, label, widget, name):
    line = put(form, Gtk.Box(spacing=6))
    caption = put(line, Gtk.Label(label="_" + label, use_underline=True))
    caption.set_mnemonic_widget(widget)
    widget.set_name(name)
    put(line, widget)


def menu_of(application, entries):
    menu = Gio.Menu()
    for entry in entries:
        if isinstance(entry, tuple):
            menu.append_submenu(entry[0], menu_of(application, entry[1]))
            continue
        name = "".join(character for character in entry.lower() if character.isalpha())
        action = Gio.SimpleAction.new(name, None)
        action.connect("activate", lambda action, parameter, entry=entry: report("triggered", entry.replace("_", "")))
        application.add_action(action)
        menu.append(entry, "app." + name)
    return menu


def choices(box):
    for entry in ("Austria", "Brazil", "Chile", "Denmark"):
        box.append_text(entry)
    box.set_active(0)
    box.connect("changed", lambda box: report("combo", box.get_name(), box.get_active_text()))
    box.connect("notify::popup-shown", lambda box, _: box.props.popup_shown and report("opened", box.get_name()))
    return box


def drop_down():
    box = Gtk.DropDown.new_from_strings(["Oak", "Elm", "Larch"])
    box.connect("notify::selected", lambda box, _: report("combo", box.get_name(), box.get_selected_item().get_string()))
    reports_opening(box.get_last_child(), box)
    return box


def reports_opening(popover, box):
    popover.connect("map", lambda popover: report("opened", box if isinstance(box, str) else box.get_name()))


def cities():
    box = Gtk.ListBox()
    for name in ("Amsterdam", "Berlin", "Copenhagen", "Dublin"):
        (box.append if IS_4 else box.add)(Gtk.Label(label=name, xalign=0))
    child = (lambda line: line.get_child().get_text())
    box.connect("row-selected", lambda box, line: line and report("selected", child(line)))
    return box


def plants():
    store = Gtk.ListStore(str)
    for name in ("Fern", "Moss", "Nettle"):
        store.append([name])
    view = Gtk.TreeView(model=store)
    view.append_column(Gtk.TreeViewColumn("Plant", Gtk.CellRendererText(), text=0))
    selection = view.get_selection()
    selection.connect("changed", lambda it: it.get_selected()[1] and report("selected", store[it.get_selected()[1]][0]))
    return view


def window_of(application):
    window = Gtk.ApplicationWindow(application=application, title="Demo", default_width=560, default_height=620)
    form = Gtk.Box(orientation=Gtk.Orientation.VERTICAL, spacing=4)
    bar = Gio.Menu()
    bar.append_submenu("_File", menu_of(application, ["_New", "_Open...", "_Save", ("_Recent", ["report.txt", "notes.md"])]))
    bar.append_submenu("_Edit", menu_of(application, ["Cu_t", "_Copy", "_Paste"]))
    bar.append_submenu("_Help", menu_of(application, ["_About"]))
    menu_bar = put(form, Gtk.PopoverMenuBar.new_from_model(bar) if IS_4 else Gtk.MenuBar.new_from_model(bar))
    reports_opening(menu_bar.get_first_child().get_last_child() if IS_4 else menu_bar.get_children()[0].get_submenu(),
                    "File")
    row(form, "Name", Gtk.Entry(), "Name")
    row(form, "Country", choices(Gtk.ComboBoxText()), "Country")
    if IS_4:
        row(form, "Tree", drop_down(), "Tree")
    check = put(form, Gtk.CheckButton(label="Wrap text"))
    check.connect("toggled", lambda box: report("checked", "Wrap text", str(box.get_active()).lower()))
    button = put(form, Gtk.Button(label="Apply"))
    button.connect("clicked", lambda button: report("clicked", "Apply"))
    things = menu_of(application, ["Pencil", "Ruler"])
    menu_button = put(form, Gtk.MenuButton(label="Things", menu_model=things))
    reports_opening(menu_button.get_popover(), "Things")
    put(form, cities())
    put(form, plants())
    if IS_4:
        window.set_child(form)
        window.connect("notify::focus-widget", lambda window, _: focused(window.get_focus()))
    else:
        window.add(form)
        window.connect("set-focus", lambda window, widget: focused(widget))
        window.show_all()
    window.present()


def focused(widget):
    while widget and not isinstance(widget, Gtk.Entry):
        widget = widget.get_parent()
    if widget:
        report("focused", widget.get_name())


GLib.set_prgname("demo-gtk")
application = Gtk.Application(application_id="org.example.Demo", flags=Gio.ApplicationFlags.NON_UNIQUE)
application.connect("activate", window_of)
application.run()
