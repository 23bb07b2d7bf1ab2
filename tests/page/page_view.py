"""What the checks ask the page in the browser."""
from browser import Browser

LANGUAGES = ["de", "en", "es", "fr", "ja", "nl", "pt", "ru", "zh"]

# Known to each script below and in the checks.
HELPERS = """
    const all = selector => [...document.querySelectorAll(selector)];
    const one = selector => document.querySelector(selector);
    const named = name => all('.sensor').find(row => row.querySelector('.name').textContent === name);
    const group = title => all('.group').find(group => text(group, '.fold') === title);
    const shown = () => all('.sensor').filter(row => row.checkVisibility());
    const names = selector => all(selector + ' .name').map(name => name.textContent);
    const count = state => Number(text(one(`.count[data-state='${state}']`), '.number'));
    const screens = () => document.documentElement.scrollHeight / innerHeight;
    const box = node => {
        const {top, height} = node.getBoundingClientRect();
        return {top: Math.round(top), height: Math.round(height)};
    };
    const text = (node, selector) => node.querySelector(selector).textContent;
    const drawn = node => Boolean(node.querySelector('.trace')?.getAttribute('d'));
    // The lowest contrast of any text in sight with what is behind it, as WCAG 2 defines it, and that text.
    const lowest_contrast = () => {
        const parts = colour => colour.match(/[\\d.]+/g).map(Number);
        const luminance = colour => parts(colour).slice(0, 3).map(value => value / 255)
            .map(value => value <= 0.04045 ? value / 12.92 : ((value + 0.055) / 1.055) ** 2.4)
            .reduce((sum, value, index) => sum + value * [0.2126, 0.7152, 0.0722][index], 0);
        const ground = node => {
            const colour = node ? getComputedStyle(node).backgroundColor : 'rgb(255, 255, 255)';
            return (parts(colour)[3] ?? 1) === 1 ? colour : ground(node.parentElement);
        };
        const texts = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
        const lowest = {ratio: 21, count: 0};
        while (texts.nextNode()) {
            const [data, node] = [texts.currentNode.data.trim(), texts.currentNode.parentElement];
            if (!data || !node.checkVisibility() || node.closest('svg, .unseen, noscript')) continue;
            lowest.count += 1;
            const [light, dark] = [getComputedStyle(node).color, ground(node)].map(luminance).sort((a, b) => b - a);
            const ratio = (light + 0.05) / (dark + 0.05);
            if (ratio < lowest.ratio) Object.assign(lowest, {ratio, data});
        }
        return lowest;
    };
"""


def expect(condition, what):
    if not condition:
        raise AssertionError(what)


class PageView(Browser):
    helpers = HELPERS

    def show(self, url, rows=True):
        self.open("about:blank")
        self.open(url)
        if rows:
            self.until("sensors", "all('.sensor').length > 0")

    def choose_language(self, language):
        self.run("((part, code) => { part.value = code; part.dispatchEvent(new Event('change')); })"
                 "(one('#language'), a[0])", language)
        self.until(f"page in {language}", "document.documentElement.lang.startsWith(a[0])", language)

    def expect_contrast(self):
        lowest = self.run("lowest_contrast()")
        expect(lowest["count"] > 30 and lowest["ratio"] >= 4.5, f"contrast {lowest}")
