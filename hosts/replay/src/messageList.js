// The messages of a recording as a list to jump from, and as marks on the timeline.

const KINDS = [
    [/error/i, 'error'],
    [/warn/i, 'warning'],
];

/// 'error', 'warning' or 'note'.
export function kindOfMessage(caption) {
    return KINDS.find(([pattern]) => pattern.test(caption))?.[1] ?? 'note';
}

/// Index of the last of `messages` (by frame) that has been said by `frame`; -1 before the first.
export function latestMessage(messages, frame) {
    let low = 0;
    let high = messages.length;
    while (low < high) {
        const middle = (low + high) >> 1;
        if (messages[middle].frame <= frame) low = middle + 1;
        else high = middle;
    }
    return low - 1;
}

export class MessageList {
    #items = [];
    #latest = -1;

    /// `list`: an ordered list to fill; `marks`: an element over the timeline; `onSeek(frame)`.
    constructor(list, marks, take, onSeek) {
        this.messages = take.messages;
        for (const message of take.messages) {
            const kind = kindOfMessage(message.caption);
            const vehicle =
                take.vehicles.length > 1 && message.vehicle !== null ? take.vehicles[message.vehicle].name : '';
            const item = makeItem(message, kind, vehicle, onSeek);
            this.#items.push(item);
            list.append(item);
            marks.append(makeMark(message, kind, take));
        }
    }

    /// Points out the last message said by `frame`.
    showFrame(frame) {
        const latest = latestMessage(this.messages, frame);
        if (latest === this.#latest) return;
        this.#items[this.#latest]?.removeAttribute('aria-current');
        this.#latest = latest;
        const item = this.#items[latest];
        item?.setAttribute('aria-current', 'true');
        // Only the list itself shall move, never the page.
        if (item) item.parentElement.scrollTop = item.offsetTop - item.parentElement.clientHeight / 2;
    }
}

function makeItem(message, kind, vehicle, onSeek) {
    const item = document.createElement('li');
    const button = document.createElement('button');
    button.type = 'button';
    button.className = `message ${kind}`;
    button.append(
        part('message-frame', String(message.frame)),
        part('message-caption', [vehicle, message.caption].filter(Boolean).join(': ')),
        part('message-text', message.text),
    );
    if (message.count > 1) button.append(part('message-count', `\u00d7${message.count}`));
    button.addEventListener('click', () => onSeek(message.frame));
    item.append(button);
    return item;
}

function part(name, text) {
    const span = document.createElement('span');
    span.className = name;
    span.textContent = text;
    return span;
}

function makeMark(message, kind, {first, last}) {
    const mark = document.createElement('i');
    mark.className = kind;
    mark.style.setProperty('--at', String(last > first ? (message.frame - first) / (last - first) : 0));
    return mark;
}
