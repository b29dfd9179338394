// ---- Pointer, keyboard and keys that are kept for a client.

/** A pointer and a keyboard of our own on the seat, made once: a seat without others forgets the first click. */
class Devices {
    constructor() {
        const seat = Clutter.get_default_backend().get_default_seat();
        this._pointer = seat.create_virtual_device(Clutter.InputDeviceType.POINTER_DEVICE);
        this._keyboard = seat.create_virtual_device(Clutter.InputDeviceType.KEYBOARD_DEVICE);
        this._pressed = new Map();  // button to the client that holds it down
    }

    move(x, y) {
        this._pointer.notify_absolute_motion(GLib.get_monotonic_time(), x, y);
    }

    /** Buttons as Clutter counts them, 1 the left and 3 the right one. */
    button(client, button, down) {
        if (this._pressed.has(button) === down)
            return;
        if (down)
            this._pressed.set(button, client);
        else
            this._pressed.delete(button);
        this._pointer.notify_button(GLib.get_monotonic_time(), button,
            down ? Clutter.ButtonState.PRESSED : Clutter.ButtonState.RELEASED);
    }

    /** Lets go of what a client holds down; of everything without one. */
    release(client = null) {
        for (const [button, holder] of [...this._pressed]) {
            if (client === null || holder === client)
                this.button(holder, button, false);
        }
    }

    /** Presses and releases the key of an X keysym. */
    type(keysym) {
        this._keyboard.notify_keyval(GLib.get_monotonic_time(), keysym, Clutter.KeyState.PRESSED);
        this._keyboard.notify_keyval(GLib.get_monotonic_time(), keysym, Clutter.KeyState.RELEASED);
    }

    destroy() {
        this.release();
        this._pointer = null;
        this._keyboard = null;
    }
}

/** Combinations that are kept for a client, which is told of each press. */
class Bindings {
    constructor(pressed) {
        this._bound = new Map();  // accelerator to {action, client}
        this._activated = global.display.connect('accelerator-activated', (display, action) => {
            for (const [accelerator, bound] of this._bound) {
                if (bound.action === action)
                    pressed(bound.client, accelerator);
            }
        });
    }

    /** False when it is somebody else's, or no combination at all. */
    bind(client, accelerator) {
        const before = this._bound.get(accelerator);
        if (before)
            return before.client === client;
        const action = global.display.grab_accelerator(accelerator, Meta.KeyBindingFlags.IGNORE_AUTOREPEAT);
        if (action === Meta.KeyBindingAction.NONE)
            return false;
        // Neither in the overview nor in a dialog of the shell's own, where the query would get no keyboard.
        Main.wm.allowKeybinding(Meta.external_binding_name_for_action(action), Shell.ActionMode.NORMAL);
        this._bound.set(accelerator, {action, client});
        return true;
    }

    unbind(client, accelerator) {
        const bound = this._bound.get(accelerator);
        if (!bound || bound.client !== client)
            return;
        this._bound.delete(accelerator);
        Main.wm.allowKeybinding(Meta.external_binding_name_for_action(bound.action), Shell.ActionMode.NONE);
        global.display.ungrab_accelerator(bound.action);
    }

    /** Whether somebody other than a client has it. */
    isTaken(client, accelerator) {
        if (this._bound.has(accelerator))
            return false;
        if (!this.bind(client, accelerator))
            return true;
        this.unbind(client, accelerator);
        return false;
    }

    /** All of a client's; everything without one. */
    release(client = null) {
        for (const [accelerator, bound] of [...this._bound]) {
            if (client === null || bound.client === client)
                this.unbind(bound.client, accelerator);
        }
    }

    destroy() {
        this.release();
        global.display.disconnect(this._activated);
    }
}

