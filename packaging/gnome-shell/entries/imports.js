// GNOME Shell 43 and 44: modules by "imports".
const {Clutter, Gio, GLib, Meta, Shell, St} = imports.gi;
const {PACKAGE_VERSION: SHELL_VERSION} = imports.misc.config;
const ExtensionUtils = imports.misc.extensionUtils;
const Keyboard = imports.ui.status.keyboard;
const Main = imports.ui.main;

//@BODY@

let service = null;

/* exported init, enable, disable */
/** Nothing to do before it is enabled. */
function init() {
}

/** Called at login, and whenever the user enables it. */
function enable() {
    service = new Service(ExtensionUtils.getCurrentExtension().metadata.programs);
}

/** Called whenever it shall leave no trace. */
function disable() {
    service.destroy();
    service = null;
}
