// GNOME Shell 45 and later: modules of ECMAScript.
import Clutter from 'gi://Clutter';
import Gio from 'gi://Gio';
import GLib from 'gi://GLib';
import Meta from 'gi://Meta';
import Shell from 'gi://Shell';
import St from 'gi://St';
import * as Keyboard from 'resource:///org/gnome/shell/ui/status/keyboard.js';
import * as Main from 'resource:///org/gnome/shell/ui/main.js';
import {PACKAGE_VERSION as SHELL_VERSION} from 'resource:///org/gnome/shell/misc/config.js';
import {Extension} from 'resource:///org/gnome/shell/extensions/extension.js';

//@BODY@

export default class JumplarkExtension extends Extension {
    enable() {
        this._service = new Service(this.metadata.programs);
    }

    disable() {
        this._service.destroy();
        this._service = null;
    }
}
