// ---- Windows: what they are, and those of a client that lie in front.

/**
 * As it goes over the bus: [x, y, width, height], in pixels of the stage.
 *
 * @param {object} rect - anything that has those four
 */
function rectangle(rect) {
    return [rect.x, rect.y, rect.width, rect.height];
}

const TYPES = new Map([
    [Meta.WindowType.NORMAL, 'normal'], [Meta.WindowType.DESKTOP, 'desktop'], [Meta.WindowType.DOCK, 'dock'],
    [Meta.WindowType.DIALOG, 'dialog'], [Meta.WindowType.MODAL_DIALOG, 'dialog'], [Meta.WindowType.TOOLBAR, 'toolbar'],
    [Meta.WindowType.MENU, 'menu'], [Meta.WindowType.UTILITY, 'utility'], [Meta.WindowType.SPLASHSCREEN, 'splash'],
    [Meta.WindowType.DROPDOWN_MENU, 'popup'], [Meta.WindowType.POPUP_MENU, 'popup'],
    [Meta.WindowType.TOOLTIP, 'tooltip'], [Meta.WindowType.NOTIFICATION, 'notification'],
    [Meta.WindowType.COMBO, 'popup'], [Meta.WindowType.DND, 'other'], [Meta.WindowType.OVERRIDE_OTHER, 'other'],
]);

const POPUPS = new Set([Meta.WindowType.DROPDOWN_MENU, Meta.WindowType.POPUP_MENU, Meta.WindowType.TOOLTIP,
    Meta.WindowType.COMBO, Meta.WindowType.DND]);

/**
 * All that clients are told of it.
 *
 * @param {Meta.Window} window - one that is there
 */
function describeWindow(window) {
    const transientFor = window.get_transient_for();
    return {
        id: window.get_id(),
        pid: window.get_pid(),
        title: window.get_title() || '',
        class: window.get_wm_class() || '',
        instance: window.get_wm_class_instance() || '',
        application: window.get_gtk_application_id() || '',
        frame: rectangle(window.get_frame_rect()),
        surface: rectangle(window.get_buffer_rect()),
        type: TYPES.get(window.get_window_type()) || 'other',
        modal: window.get_window_type() === Meta.WindowType.MODAL_DIALOG,
        popup: window.is_override_redirect() || POPUPS.has(window.get_window_type()),
        x11: window.get_client_type() === Meta.WindowClientType.X11,
        transientFor: transientFor ? transientFor.get_id() : 0,
        hidden: window.minimized || !window.showing_on_its_workspace(),
        maximised: window.maximized_horizontally && window.maximized_vertically,
        closes: window.can_close(),
        minimises: window.can_minimize(),
        maximises: window.can_maximize(),
    };
}

/**
 * Null when it is there no more.
 *
 * @param {number} id - as clients are told it
 */
function windowOf(id) {
    const actor = global.get_window_actors().find(one => one.meta_window.get_id() === id);
    return actor ? actor.meta_window : null;
}

/**
 * Raises it and gives it the keyboard, on whichever workspace it is.
 *
 * @param {Meta.Window} window - one that is there
 */
function activateWindow(window) {
    const workspace = window.get_workspace();
    if (workspace && !window.is_on_all_workspaces())
        workspace.activate_with_focus(window, global.get_current_time());
    else
        window.activate(global.get_current_time());
}

const REQUESTS = {
    close: window => window.delete(global.get_current_time()),
    minimise: window => window.minimize(),
    // Later versions know no direction any more.
    maximise: window => Meta.MaximizeFlags ? window.maximize(Meta.MaximizeFlags.BOTH) : window.maximize(),
    restore: window => {
        if (window.minimized)
            window.unminimize();
        else if (Meta.MaximizeFlags)
            window.unmaximize(Meta.MaximizeFlags.BOTH);
        else
            window.unmaximize();
    },
};

/**
 * Leaves windows out of what a person switches to: Alt+Tab, the overview, the dash's previews. Programs cannot ask for
 * that on Wayland, and the shell has no setter: both read what is put in front of its own answers here.
 */
class Unlisted {
    constructor() {
        this._windows = new Set();
        this._listed = (...which) => Meta.Display.prototype.get_tab_list.call(global.display, ...which)
            .filter(window => !this._windows.has(window));
        global.display.get_tab_list = this._listed;
    }

    add(window) {
        this._windows.add(window);
        Object.defineProperty(window, 'skip_taskbar', {value: true, configurable: true});
    }

    remove(window) {
        if (this._windows.delete(window))
            delete window.skip_taskbar;
    }

    destroy() {
        for (const window of [...this._windows])
            this.remove(window);
        if (global.display.get_tab_list === this._listed)
            delete global.display.get_tab_list;
    }
}

/**
 * Windows of clients that show where the client wants them, above all others, and get the keyboard with their first
 * picture. A client names one by its title before that.
 */
class FrontWindows {
    // `isClient` tells whether a process may ask for such windows.
    constructor(isClient) {
        this._isClient = isClient;
        this._places = new Map();   // "PID TITLE" to {client, x, y, window}
        this._created = global.display.connect('window-created', (display, window) => this._watch(window));
        this._mapped = global.window_manager.connect('map', (manager, actor) => this._show(actor.meta_window));
        this._watched = new Map();  // window to its signals
        this._unlisted = new Unlisted();
        this._overview = Main.overview.connect('showing', () => this._giveKeyboardUp());
    }

    // The overview takes the keyboard and tells windows nothing: ours would stay behind it.
    _giveKeyboardUp() {
        const window = global.display.focus_window;
        if (!window || !this._watched.has(window))
            return;
        const [next] = global.display.get_tab_list(Meta.TabList.NORMAL, global.workspace_manager.get_active_workspace());
        if (next)
            next.focus(global.get_current_time());
        else
            global.display.unset_input_focus(global.get_current_time());
    }

    place(client, title, x, y) {
        const key = `${client.pid} ${title}`;
        const place = this._places.get(key) || {client, window: null};
        Object.assign(place, {client, x, y});
        this._places.set(key, place);
        if (place.window)
            place.window.move_frame(true, x, y);
    }

    // Forgets what a client has asked for.
    release(client) {
        for (const [key, place] of [...this._places]) {
            if (place.client === client)
                this._places.delete(key);
        }
    }

    _placeOf(window) {
        return this._places.get(`${window.get_pid()} ${window.get_title()}`);
    }

    _watch(window) {
        // It has neither title nor picture yet, and may never get the one or the other; its place may come later too.
        if (!this._isClient(window.get_pid()))
            return;
        this._watched.set(window, [
            window.connect('notify::title', () => this._dropEffects(window)),
            window.connect('size-changed', () => this._hasPicture(window)),
            window.connect('unmanaging', () => this._end(window)),
        ]);
    }

    // It neither grows into its place nor fades away: what is below is clicked the moment it has gone.
    _dropEffects(window) {
        const actor = window.get_compositor_private();
        if (actor && this._placeOf(window))
            Main.wm.skipNextEffect(actor);
    }

    // The shell would show it, and give it the keyboard, with its next frame.
    _hasPicture(window) {
        const place = this._placeOf(window);
        if (!place || place.window)
            return;
        GLib.idle_add(GLib.PRIORITY_DEFAULT, () => {
            if (this._watched.has(window) && !place.window)
                window.activate(global.get_current_time());
            return GLib.SOURCE_REMOVE;
        });
    }

    _show(window) {
        const place = this._placeOf(window);
        if (!place || !this._watched.has(window))
            return;
        place.window = window;
        this._unlisted.add(window);
        window.make_above();
        window.stick();
        window.move_frame(true, place.x, place.y);
        window.activate(global.get_current_time());
    }

    _end(window) {
        this._dropEffects(window);
        const place = this._placeOf(window);
        if (place && place.window === window)
            place.window = null;
        this._unwatch(window);
    }

    _unwatch(window) {
        this._unlisted.remove(window);
        for (const signal of this._watched.get(window))
            window.disconnect(signal);
        this._watched.delete(window);
    }

    destroy() {
        this._giveKeyboardUp();
        global.display.disconnect(this._created);
        global.window_manager.disconnect(this._mapped);
        Main.overview.disconnect(this._overview);
        for (const window of [...this._watched.keys()])
            this._unwatch(window);
        this._unlisted.destroy();
        this._places.clear();
    }
}

