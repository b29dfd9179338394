// ---- Who is answered: the program that this extension belongs to, and nobody else.

/**
 * Device and inode of a file, which no other mount namespace can imitate as it could a path; null when it is not there.
 *
 * @param {string} path - where it lies
 */
function identityOf(path) {
    try {
        // Of /proc/PID/exe this is the file that the process runs, wherever that lies for the process.
        const info = Gio.File.new_for_path(path).query_info('unix::device,unix::inode', Gio.FileQueryInfoFlags.NONE, null);
        return `${info.get_attribute_uint32('unix::device')}:${info.get_attribute_uint64('unix::inode')}`;
    } catch (error) {
        return null;
    }
}

/**
 * Resolves with the process at the other end of a connection.
 *
 * @param {string} sender - the connection's unique name
 */
function pidOf(sender) {
    return new Promise((resolve, reject) => {
        const arguments_ = new GLib.Variant('(s)', [sender]);
        Gio.DBus.session.call('org.freedesktop.DBus', '/org/freedesktop/DBus', 'org.freedesktop.DBus',
            'GetConnectionUnixProcessID', arguments_, new GLib.VariantType('(u)'), Gio.DBusCallFlags.NONE, -1, null,
            (connection, result) => {
                try {
                    resolve(connection.call_finish(result).deepUnpack()[0]);
                } catch (error) {
                    reject(error);
                }
            });
    });
}

/**
 * The connections to the session bus that have asked for something. `programs` are paths of the executables that are
 * answered: who may write them into this extension's folder could as well write the extension. `gone` is called with
 * each client whose connection has ended.
 */
class Clients {
    constructor(programs, gone) {
        this._programs = Array.isArray(programs) ? programs : [];
        this._gone = gone;
        this._known = new Map();
    }

    // Resolves with the client of a connection, {sender, pid, listens}; rejects for another program's.
    admit(sender) {
        if (!this._known.has(sender)) {
            const watch = Gio.bus_watch_name_on_connection(Gio.DBus.session, sender, Gio.BusNameWatcherFlags.NONE, null,
                () => this._forget(sender));
            this._known.set(sender, {watch, client: null, admitted: this._check(sender)});
        }
        return this._known.get(sender).admitted;
    }

    async _check(sender) {
        const pid = await pidOf(sender);
        const program = identityOf(`/proc/${pid}/exe`);
        if (program === null || !this._programs.some(path => identityOf(path) === program))
            throw new Error(`Process ${pid} is not Jumplark`);
        const entry = this._known.get(sender);
        if (!entry)
            throw new Error('The connection has ended');
        entry.client = {sender, pid, listens: false};
        return entry.client;
    }

    admitted() {
        return [...this._known.values()].map(entry => entry.client).filter(client => client !== null);
    }

    _forget(sender) {
        const entry = this._known.get(sender);
        this._known.delete(sender);
        Gio.bus_unwatch_name(entry.watch);
        if (entry.client)
            this._gone(entry.client);
    }

    destroy() {
        for (const sender of [...this._known.keys()])
            this._forget(sender);
    }
}

