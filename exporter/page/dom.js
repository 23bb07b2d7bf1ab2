// Small helpers around the document. Text reaches it only as text nodes and attribute values: whatever a server sends
// stays text.

const svg_space = 'http://www.w3.org/2000/svg';

// @param children nodes or texts
export function element(tag, class_name = '', ...children) {
    const node = document.createElement(tag);
    if (class_name) {
        node.className = class_name;
    }
    node.append(...children);
    return node;
}

export function svg_element(tag, attributes = {}, ...children) {
    const node = document.createElementNS(svg_space, tag);
    for (const [name, value] of Object.entries(attributes)) {
        node.setAttribute(name, value);
    }
    node.append(...children);
    return node;
}

// Writes only what differs, so that unchanged parts cost no layout and no selection is lost.
export function set_text(node, text) {
    if (node.textContent !== text) {
        node.textContent = text;
    }
}

export function set_attribute(node, name, value) {
    if (node.getAttribute(name) !== String(value)) {
        node.setAttribute(name, value);
    }
}

// The sign of a state: its own shape for each one, so that nobody has to tell colours apart.
export function state_mark() {
    return svg_element('svg', {class: 'mark', viewBox: '0 0 16 16', 'aria-hidden': 'true'}, svg_element('use'));
}

// @param state one of ok, warning, error, pending; the shapes are in index.html
export function show_mark(mark, state) {
    set_attribute(mark, 'data-state', state);
    set_attribute(mark.firstChild, 'href', `#mark-${state}`);
}

// Writes pairs of a name and a text into a description list.
export function fill_facts(list, facts) {
    while (list.children.length > facts.length) {
        list.lastElementChild.remove();
    }
    facts.forEach((pair, index) => {
        const line = list.children[index] ?? list.appendChild(element('div', '', element('dt'), element('dd')));
        pair.forEach((text, part) => set_text(line.children[part], text));
    });
}

// Puts nodes into a list, in this order, and nothing else. Leaves those alone that stay, so that the browser can hold the
// reader's place, and gives the focus back to a node that had to move.
export function arrange(list, nodes) {
    const focused = document.activeElement;
    let place = list.firstElementChild;
    for (const node of nodes) {
        if (place && place !== node && place.nextElementSibling === node) {
            list.append(place); // it is the one that moved, further down
            place = node;
        }
        if (place === node) {
            place = node.nextElementSibling;
        } else {
            list.insertBefore(node, place);
        }
    }
    while (place) {
        const next = place.nextElementSibling;
        place.remove();
        place = next;
    }
    if (focused !== document.activeElement && list.contains(focused)) {
        focused.focus({preventScroll: true});
    }
}

// Views by the keys of what they show: made once, kept as long as their keys are there.
export class view_pool {
    #create;
    views = new Map(); // key -> view

    // @param create key => a new view
    constructor(create) {
        this.#create = create;
    }

    get(key) {
        if (!this.views.has(key)) {
            this.views.set(key, this.#create(key));
        }
        return this.views.get(key);
    }

    // Forgets the views of all other keys and takes them out of the document.
    // @param keys a Set or Map
    keep(keys) {
        for (const [key, view] of this.views) {
            if (!keys.has(key)) {
                view.node.remove();
                this.views.delete(key);
            }
        }
    }
}
