// ---- What is offered on the session bus.

const NAME = 'com.brindlefox.jumplark.Shell';
const PATH = '/com/brindlefox/jumplark/Shell';
/** Counted up with each change that the other side would not understand. */
const VERSION = 2;

/** Methods by name: D-Bus types of what comes in and of what goes out. */
const METHODS = {
    Hello: ['', 'us'],
    Listen: ['', ''],
    Scene: ['', 's'],
    Activate: ['u', 'b'],
    Request: ['us', 'b'],
    CloseMenus: ['', ''],
    Place: ['sii', ''],
    Pointer: ['', 'dd'],
    AreModifiersHeld: ['', 'b'],
    Move: ['dd', ''],
    Button: ['ddub', ''],
    Type: ['u', ''],
    Bind: ['s', 'b'],
    Unbind: ['s', ''],
    IsTaken: ['s', 'b'],
    InputSources: ['', 's'],
    SelectInputSource: ['u', 'b'],
};

/** For the bus, of METHODS and the signals. */
function interfaceDescription() {
    const argument = direction => type => `<arg type="${type}" direction="${direction}"/>`;
    const methods = Object.entries(METHODS).map(([name, [taken, given]]) =>
        `<method name="${name}">${[...taken].map(argument('in')).join('')}${[...given].map(argument('out')).join('')}</method>`);
    return `<node><interface name="${NAME}">${methods.join('')}
        <signal name="Pressed"><arg type="s"/><arg type="s"/></signal>
        <signal name="Focused"><arg type="i"/></signal>
    </interface></node>`;
}

/** All of this extension; ends without a trace with destroy(). */
class Service {
    constructor(programs) {
        this._usersSource = null;  // the place of the one that is selected once the client that chose another one is gone
        this._settings = new Gio.Settings({schema_id: 'org.gnome.desktop.wm.preferences'});
        this._devices = new Devices();
        this._windows = new FrontWindows(pid => this._clients.admitted().some(client => client.pid === pid));
        // With all that is asked next: a shell that draws answers no question before its frame is done.
        this._bindings = new Bindings((client, accelerator) =>
            this._tell('Pressed', '(ss)', [accelerator, this._Scene()], client.pid));
        this._clients = new Clients(programs, client => this._release(client));
        this._focused = global.display.connect('notify::focus-window', () => this._tellOfFocus());
        for (const name of Object.keys(METHODS))
            this[`${name}Async`] = (parameters, invocation) => this._answer(name, parameters, invocation);
        this._exported = Gio.DBusExportedObject.wrapJSObject(interfaceDescription(), this);
        this._exported.export(Gio.DBus.session, PATH);
        this._name = Gio.bus_own_name_on_connection(Gio.DBus.session, NAME, Gio.BusNameOwnerFlags.NONE, null, null);
    }

    async _answer(name, parameters, invocation) {
        try {
            const client = await this._clients.admit(invocation.get_sender());
            const given = METHODS[name][1];
            const answer = this[`_${name}`](client, ...parameters);
            invocation.return_value(given ? new GLib.Variant(`(${given})`, given.length > 1 ? answer : [answer]) : null);
        } catch (error) {
            invocation.return_dbus_error(`${NAME}.Refused`, error.message);
        }
    }

    // Everybody who listens, or those of one process.
    _tell(signal, type, values, pid = 0) {
        for (const client of this._clients.admitted()) {
            if (client.listens && (pid === 0 || client.pid === pid))
                Gio.DBus.session.emit_signal(client.sender, PATH, NAME, signal, new GLib.Variant(type, values));
        }
    }

    _tellOfFocus() {
        const window = global.display.focus_window;
        if (window)
            this._tell('Focused', '(i)', [window.get_pid()]);
    }

    _release(client) {
        this._devices.release(client);
        this._bindings.release(client);
        this._windows.release(client);
        this._restoreInputSource(client);
    }

    _Hello() {
        return [VERSION, SHELL_VERSION];
    }

    // From now on this connection is told of presses of what its process has bound, and of the focus.
    _Listen(client) {
        client.listens = true;
    }

    // Windows front to back, the one that has the keyboard, 0 when none has, screens with what panels leave free.
    _Scene() {
        const focused = global.display.focus_window;
        const windows = global.get_window_actors().map(actor => describeWindow(actor.meta_window)).reverse();
        // Which buttons a title bar has that the shell draws, and on which side.
        const buttons = this._settings.get_string('button-layout');
        const screens = Main.layoutManager.monitors.map((monitor, i) =>
            ({frame: rectangle(monitor), free: rectangle(Main.layoutManager.getWorkAreaForMonitor(i))}));
        return JSON.stringify({focused: focused ? focused.get_id() : 0, buttons, windows, screens, pointer: this._Pointer()});
    }

    _Activate(client, id) {
        const window = windowOf(id);
        if (window)
            activateWindow(window);
        return window !== null;
    }

    _Request(client, id, wish) {
        const window = windowOf(id);
        if (!window || !Object.hasOwn(REQUESTS, wish))
            return false;
        REQUESTS[wish](window);
        return true;
    }

    // Menus of programs close when the keyboard goes elsewhere; those of later versions keep it until then.
    _CloseMenus() {
        global.display.unset_input_focus(global.get_current_time());
        if (parseInt(SHELL_VERSION) >= 45)
            this._devices.touchShell();
    }

    _Place(client, title, x, y) {
        this._windows.place(client, title, x, y);
    }

    _Pointer() {
        const [x, y] = global.get_pointer();
        return [x, y];
    }

    // Those that programs go by; no lock keys.
    _AreModifiersHeld() {
        const {SHIFT_MASK, CONTROL_MASK, MOD1_MASK, MOD4_MASK, SUPER_MASK} = Clutter.ModifierType;
        return (global.get_pointer()[2] & (SHIFT_MASK | CONTROL_MASK | MOD1_MASK | MOD4_MASK | SUPER_MASK)) !== 0;
    }

    _Move(client, x, y) {
        this._devices.move(x, y);
    }

    _Button(client, x, y, button, down) {
        this._devices.move(x, y);
        this._devices.button(client, button, down);
    }

    _Type(client, keysym) {
        this._devices.type(keysym);
    }

    _Bind(client, accelerator) {
        return this._bindings.bind(client, accelerator);
    }

    _Unbind(client, accelerator) {
        this._bindings.unbind(client, accelerator);
    }

    _IsTaken(client, accelerator) {
        return this._bindings.isTaken(client, accelerator);
    }

    _InputSources() {
        const manager = Keyboard.getInputSourceManager();
        const sources = Object.values(manager.inputSources).map(
            source => ({type: source.type, id: source.id, place: source.index}));
        return JSON.stringify({sources, current: manager.currentSource ? manager.currentSource.index : -1});
    }

    _SelectInputSource(client, index) {
        const {inputSources, currentSource} = Keyboard.getInputSourceManager();
        const source = inputSources[index];
        if (!source)
            return false;
        const selected = currentSource ? currentSource.index : index;
        const own = this._usersSource ? this._usersSource.index : selected;
        this._usersSource = own === index ? null : {client, index: own};
        source.activate(false);
        return true;
    }

    // Selects what was selected before a client did, if it has not done so itself; of everybody without one.
    _restoreInputSource(client = null) {
        if (this._usersSource && (client === null || this._usersSource.client === client))
            this._SelectInputSource(client, this._usersSource.index);
    }

    destroy() {
        Gio.bus_unown_name(this._name);
        this._exported.unexport();
        global.display.disconnect(this._focused);
        this._restoreInputSource();
        this._clients.destroy();
        this._bindings.destroy();
        this._windows.destroy();
        this._devices.destroy();
    }
}
