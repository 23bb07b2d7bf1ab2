// What the page shows, kept in the address after "#", so that a view can be bookmarked, sent and put on a wall display.

const language_key = 'opcua-probe.language';
const group_key = 'opcua-probe.group';

// A browser may refuse storage; the page works without.
function storage(action) {
    try {
        return action(localStorage);
    } catch {
        return null;
    }
}

export const stored_language = () => storage(store => store.getItem(language_key));
export const store_language = language => storage(store => store.setItem(language_key, language));

export const store_group = label => storage(store => store.setItem(group_key, label));

// @return {language: text or null, search: text, states: Set of states to show (empty: all), group: label to group by, as
// the address says or as it was chosen last; empty: servers}
export function read_address() {
    const fields = new URLSearchParams(location.hash.slice(1));
    return {
        language: fields.get('language'),
        search: fields.get('search') ?? '',
        states: new Set((fields.get('state') ?? '').split(',').filter(Boolean)),
        group: fields.get('group') ?? storage(store => store.getItem(group_key)) ?? '',
    };
}

export function write_address({language, search, states, group}) {
    const fields = new URLSearchParams();
    if (language) {
        fields.set('language', language);
    }
    if (search) {
        fields.set('search', search);
    }
    if (states.size > 0) {
        fields.set('state', [...states].join(','));
    }
    if (group) {
        fields.set('group', group);
    }
    const hash = `#${fields}`;
    if (hash !== location.hash) {
        history.replaceState(null, '', hash);
    }
}
