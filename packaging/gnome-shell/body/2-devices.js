// ---- Pointer, keyboard and keys that are kept for a client.

const TOUCH_SIZE = 4;
const TOUCH_MS = 300;

/**
 * Where the pointer goes by on its way. The shell has barriers at the edges of screens, which hold up what crosses them
 * aslant, even from where it lies on one, and take that push for the user's wish: a hot corner opens the overview.
 */
function stopsOnTheWay([x, y], [goalX, goalY]) {
    const {monitors, primaryMonitor, panelBox} = Main.layoutManager;
    const stops = [];
    // Straight away from an edge first.
    const within = (monitor, atX, atY) => atX >= monitor.x && atX < monitor.x + monitor.width &&
        atY >= monitor.y && atY < monitor.y + monitor.height;
    const monitor = monitors.find(one => within(one, x, y));
    if (!monitor || Math.abs(goalX - x) + Math.abs(goalY - y) < 2)
        return stops;
    const inwards = (at, start, size) => at < start + 1 ? at + 1 : at >= start + size - 1 ? at - 1 : at;
    const [freeX, freeY] = [inwards(x, monitor.x, monitor.width), inwards(y, monitor.y, monitor.height)];
    if (freeX !== x)
        stops.push([freeX, y]);
    if (freeY !== y)
        stops.push([freeX, freeY]);

    // Below the end of the panel, not through it.
    const end = primaryMonitor.x + primaryMonitor.width;
    const bottom = panelBox.y + panelBox.height;
    const crossing = freeY + (goalY - freeY) * (end - freeX) / (goalX - freeX);
    const beyond = monitors.find(one => within(one, goalX, goalY));
    if (monitor === primaryMonitor && goalX >= end && beyond && crossing >= panelBox.y && crossing <= bottom) {
        const lane = Math.max(bottom, beyond.y) + 1;
        stops.push([end - 1, lane], [end + 1, lane]);
    }
    return stops;
}

/** A pointer and a keyboard of our own on the seat, made once: a seat without others forgets the first click. */
class Devices {
    constructor() {
        // Since 51 the stage alone knows.
        const backend = Clutter.get_default_backend?.() ?? global.stage.get_context().get_backend();
        this._seat = backend.get_default_seat();
        this._pointer = null;
        this._keyboard = null;
        this._touch = null;
        this._pressed = new Map();  // button to the client that holds it down
        // Shell 46 never ends its start when devices come in the middle of it.
        if (Main.layoutManager._startingUp)
            this._started = Main.layoutManager.connect('startup-complete', () => this._make());
        else
            this._make();
    }

    _make() {
        this._awaitStartNoMore();
        if (this._pointer)
            return;
        this._pointer = this._seat.create_virtual_device(Clutter.InputDeviceType.POINTER_DEVICE);
        this._keyboard = this._seat.create_virtual_device(Clutter.InputDeviceType.KEYBOARD_DEVICE);
    }

    _awaitStartNoMore() {
        if (this._started)
            Main.layoutManager.disconnect(this._started);
        this._started = 0;
    }

    move(x, y) {
        for (const [stopX, stopY] of stopsOnTheWay(global.get_pointer(), [x, y]))
            this._moveStraight(stopX, stopY);
        this._moveStraight(x, y);
    }

    _moveStraight(x, y) {
        this._make();
        this._pointer.notify_absolute_motion(GLib.get_monotonic_time(), x, y);
    }

    // Buttons as Clutter counts them, 1 the left and 3 the right one.
    button(client, button, down) {
        if (this._pressed.has(button) === down)
            return;
        this._make();
        if (down)
            this._pressed.set(button, client);
        else
            this._pressed.delete(button);
        this._pointer.notify_button(GLib.get_monotonic_time(), button,
            down ? Clutter.ButtonState.PRESSED : Clutter.ButtonState.RELEASED);
    }

    // Lets go of what a client holds down; of everything without one.
    release(client = null) {
        for (const [button, holder] of [...this._pressed]) {
            if (client === null || holder === client)
                this.button(holder, button, false);
        }
    }

    // Presses and releases the key of an X keysym.
    type(keysym) {
        this._make();
        this._keyboard.notify_keyval(GLib.get_monotonic_time(), keysym, Clutter.KeyState.PRESSED);
        this._keyboard.notify_keyval(GLib.get_monotonic_time(), keysym, Clutter.KeyState.RELEASED);
    }

    // Touches something of the shell's own, where nothing shows. The pointer stays where it is, and what the user holds
    // does not matter.
    touchShell() {
        const monitor = Main.layoutManager.primaryMonitor;
        if (!monitor)
            return;
        this._endTouch();
        const [x, y] = [monitor.x, monitor.y + monitor.height - TOUCH_SIZE];
        const target = new St.Widget({reactive: true, x, y, width: TOUCH_SIZE, height: TOUCH_SIZE});
        Main.uiGroup.add_child(target);
        target.get_allocation_box();  // gives it a place, without which it is not hit
        // Not kept: programs are told of a touch screen as long as it is there.
        const device = this._seat.create_virtual_device(Clutter.InputDeviceType.TOUCHSCREEN_DEVICE);
        const time = GLib.get_monotonic_time();
        device.notify_touch_down(time, 0, x + TOUCH_SIZE / 2, y + TOUCH_SIZE / 2);
        device.notify_touch_up(time, 0);
        const timer = GLib.timeout_add(GLib.PRIORITY_DEFAULT, TOUCH_MS, () => {
            this._endTouch();
            return GLib.SOURCE_REMOVE;
        });
        this._touch = {device, target, timer};
    }

    _endTouch() {
        if (!this._touch)
            return;
        GLib.source_remove(this._touch.timer);
        this._touch.target.destroy();
        this._touch = null;
    }

    destroy() {
        this._awaitStartNoMore();
        this.release();
        this._endTouch();
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

    // False when it is somebody else's, or no combination at all.
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

    // Whether somebody other than a client has it.
    isTaken(client, accelerator) {
        if (this._bound.has(accelerator))
            return false;
        if (!this.bind(client, accelerator))
            return true;
        this.unbind(client, accelerator);
        return false;
    }

    // All of a client's; everything without one.
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

