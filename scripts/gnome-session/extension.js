// What scripts/gnome-seat needs of the shell of a private session: it evaluates calls of `global.seat`.
const {Clutter, GLib, Meta} = imports.gi;
const Main = imports.ui.main;

class Seat {
    constructor() {
        // Since 51 the stage alone knows.
        const backend = Clutter.get_default_backend?.() ?? global.stage.get_context().get_backend();
        const seat = backend.get_default_seat();
        this._pointer = seat.create_virtual_device(Clutter.InputDeviceType.POINTER_DEVICE);
        this._keyboard = seat.create_virtual_device(Clutter.InputDeviceType.KEYBOARD_DEVICE);
    }

    move(x, y) {
        this._pointer.notify_absolute_motion(GLib.get_monotonic_time(), x, y);
    }

    button(number, down) {
        this._pointer.notify_button(GLib.get_monotonic_time(), number,
            down ? Clutter.ButtonState.PRESSED : Clutter.ButtonState.RELEASED);
    }

    /** Numbers of the kernel's keys; negative ones go up. */
    keys(codes) {
        for (const code of codes) {
            this._keyboard.notify_key(GLib.get_monotonic_time(), Math.abs(code),
                code > 0 ? Clutter.KeyState.PRESSED : Clutter.KeyState.RELEASED);
        }
    }

    windows() {
        return global.get_window_actors().map(actor => {
            const window = actor.meta_window;
            const rect = window.get_frame_rect();
            return {id: window.get_id(), title: window.get_title() || '', pid: window.get_pid(),
                rect: [rect.x, rect.y, rect.width, rect.height], popup: window.is_override_redirect(),
                focused: window === global.display.focus_window, shows: actor.visible && !window.minimized};
        });
    }

    activate(id) {
        const actor = global.get_window_actors().find(one => one.meta_window.get_id() === id);
        if (actor)
            actor.meta_window.activate(global.get_current_time());
    }

    /** Whether nobody has the combination. */
    isFree(accelerator) {
        const action = global.display.grab_accelerator(accelerator, Meta.KeyBindingFlags.NONE);
        if (action !== Meta.KeyBindingAction.NONE)
            global.display.ungrab_accelerator(action);
        return action !== Meta.KeyBindingAction.NONE;
    }
}

/* exported init, enable, disable */
function init() {
}

function enable() {
    global.context.unsafe_mode = true;
    global.seat = new Seat();
    global.seat.move(1, 1);
    if (Main.layoutManager._startingUp)
        Main.layoutManager.connect('startup-complete', () => Main.overview.hide());
    else
        Main.overview.hide();
}

function disable() {
}
