// GNOME Shell 43 and 44: modules by "imports".
const {Clutter, Gio, GLib, Meta, Shell, St} = imports.gi;
const {PACKAGE_VERSION: SHELL_VERSION} = imports.misc.config;
const ExtensionUtils = imports.misc.extensionUtils;
const Keyboard = imports.ui.status.keyboard;
const Main = imports.ui.main;

//@BODY@

let service = null;

/* exported init, enable, disable */
function init() {
}

function enable() {
    service = new Service(ExtensionUtils.getCurrentExtension().metadata.programs);
}

function disable() {
    service.destroy();
    service = null;
}
