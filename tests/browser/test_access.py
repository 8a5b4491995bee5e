"""For everybody: the keyboard, screen readers, dark screens, narrow ones, and paper."""
import pytest
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.keys import Keys

# Roles of the accessibility tree that a user acts on, or that tell something by their name alone.
NAMED = {"button", "link", "textbox", "combobox", "slider", "checkbox", "radio", "spinbutton",
         "searchbox", "listbox", "menuitem", "option", "switch", "tab", "progressbar", "table",
         "image", "img", "region", "dialog", "graphics-document"}

# Pairs of a text and what is behind it whose contrast is below 4.5, or 3 for large letters (Web
# Content Accessibility Guidelines 2.2, 1.4.3). Each colour is painted to find its red, green, blue.
LOW_CONTRAST = """
const paint = document.createElement("canvas").getContext("2d", { willReadFrequently: true });
function rgba(colour) {
  paint.clearRect(0, 0, 1, 1);
  paint.fillStyle = colour;
  paint.fillRect(0, 0, 1, 1);
  const [r, g, b, a] = paint.getImageData(0, 0, 1, 1).data;
  return [r, g, b, a / 255];
}
const over = (top, under) => top.slice(0, 3).map((v, i) => v * top[3] + under[i] * (1 - top[3]));
const channel = (v) => (v /= 255) <= 0.04045 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4;
const luminance = ([r, g, b]) => 0.2126 * channel(r) + 0.7152 * channel(g) + 0.0722 * channel(b);
function behind(element) {
  const layers = [];
  for (let e = element; e; e = e.parentElement) layers.push(rgba(getComputedStyle(e).backgroundColor));
  const dark = matchMedia("(prefers-color-scheme: dark)").matches;
  return layers.reduceRight((under, top) => over(top, under), dark ? [18, 18, 18] : [255, 255, 255]);
}
const found = [];
const walk = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
while (walk.nextNode()) {
  const element = walk.currentNode.parentElement;
  const box = element.getBoundingClientRect();
  if (!walk.currentNode.data.trim() || box.width < 2 || element.closest("script, [aria-hidden=true], :disabled") ||
      !element.checkVisibility({ visibilityProperty: true, opacityProperty: true })) continue;
  const style = getComputedStyle(element);
  const inSvg = element instanceof SVGElement;
  const ground = behind(inSvg ? element.closest("svg").parentElement : element);
  const front = over(rgba(inSvg ? style.fill : style.color), ground);
  const [light, dark] = [luminance(front), luminance(ground)].sort((a, b) => b - a);
  const ratio = (light + 0.05) / (dark + 0.05);
  const size = parseFloat(style.fontSize);
  const large = size >= 24 || (size >= 18.66 && parseInt(style.fontWeight) >= 700);
  if (ratio < (large ? 3 : 4.5)) found.push(`${walk.currentNode.data.trim().slice(0, 40)}: ${ratio.toFixed(2)}`);
}
return found;
"""

# Elements that are wider than the window without a scroll region of their own around them.
TOO_WIDE = """
const width = document.documentElement.clientWidth;
const all = [...document.querySelectorAll("body *")].filter((e) => e.checkVisibility() &&
  e.getBoundingClientRect().right > width + 1 && !e.closest(".scroll, svg, pre, .visually-hidden, .skip"));
return [document.scrollingElement.scrollWidth - width, all.slice(0, 5).map((e) => e.outerHTML.slice(0, 120))];
"""


def with_result(page):
    page.click("#example")
    page.arrived(1)
    page.invert()


def open_everything(page):
    page.run("document.querySelectorAll('details').forEach((part) => { part.open = true; })")


def unnamed(page):
    nodes = page.cdp("Accessibility.getFullAXTree")["nodes"]
    acting = [node for node in nodes if not node["ignored"] and node["role"]["value"] in NAMED]
    assert len(acting) > 20
    return [(node["role"]["value"], node.get("backendDOMNodeId")) for node in acting
            if not node.get("name", {}).get("value", "").strip()]


def scheme(page, name):
    page.cdp("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": name}])


@pytest.fixture
def narrow(page):
    page.cdp("Emulation.setDeviceMetricsOverride", width=320, height=640, deviceScaleFactor=1, mobile=False)
    yield page
    page.cdp("Emulation.clearDeviceMetricsOverride")


def describe(page, nodes):
    found = []
    for role, backend in nodes:
        answer = page.cdp("DOM.describeNode", backendNodeId=backend)["node"]
        found.append(f"{role}: {answer['localName']} {answer.get('attributes')}")
    return found


def test_each_control_has_a_name(page):
    open_everything(page)
    assert describe(page, unnamed(page)) == []
    with_result(page)
    open_everything(page)
    assert describe(page, unnamed(page)) == []


def test_each_choice_has_help_beside_it(page):
    open_everything(page)
    missing = page.run("""
      return [...document.querySelectorAll("#settings [name], #reading [name]")]
        .filter((control) => !control.dataset.valueOf && !control.closest(".pair input + *"))
        .filter((control) => {
          const ids = control.getAttribute("aria-describedby");
          const beside = control.closest(".field, .choice")?.querySelector("[aria-describedby]");
          const id = ids || beside?.getAttribute("aria-describedby");
          return !id || !document.getElementById(id)?.textContent.trim();
        }).map((control) => control.id || control.name)""")
    assert missing == []


def test_ids_are_unique_and_references_lead_somewhere(page):
    with_result(page)
    ids = page.run("return [...document.querySelectorAll('[id]')].map((e) => e.id)")
    assert sorted(ids) == sorted(set(ids))
    lost = page.run("""
      return [...document.querySelectorAll("[for], [aria-describedby], [aria-labelledby], [aria-controls]")]
        .flatMap((e) => ["for", "aria-describedby", "aria-labelledby", "aria-controls"]
          .flatMap((name) => (e.getAttribute(name) || "").split(" ")).filter(Boolean))
        .filter((id) => !document.getElementById(id))""")
    assert lost == []


def tab_to(page, wanted):
    """Presses Tab until an element is in focus; each on the way has to show that it is."""
    for _ in range(60):
        ActionChains(page.driver).send_keys(Keys.TAB).perform()
        at, shown = page.run("""
          const e = document.activeElement, s = getComputedStyle(e);
          const label = e.id && document.querySelector(`label[for="${e.id}"]`);
          const ring = (style) => style.outlineStyle !== "none" && parseFloat(style.outlineWidth) > 0 ||
            style.boxShadow !== "none";
          return [e.id, e === document.body || ring(s) || (label && ring(getComputedStyle(label)))];""")
        assert shown, f"the focus on {at!r} is not seen"
        if at == wanted:
            return
    raise AssertionError(f"{wanted} is not reached")


def test_the_keyboard_alone_leads_to_a_distribution(page):
    tab_to(page, "example")
    ActionChains(page.driver).send_keys(Keys.ENTER).perform()
    page.arrived(1)
    tab_to(page, "run")
    ActionChains(page.driver).send_keys(Keys.ENTER).perform()
    page.until(lambda: page.results() and page.state() == "ready", "the inversion ends")
    assert page.results()[0]["total"] > 0
    tab_to(page, "export-csv")


def test_the_slider_moves_by_the_keyboard(page):
    with_result(page)
    before = page.results()[0]["weight"]
    slider = page.one("#weight-slider")
    page.run("arguments[0].focus()", slider)
    ActionChains(page.driver).send_keys(Keys.ARROW_RIGHT * 5).perform()
    page.until(lambda: page.results()[0]["weight"] != before and page.state() == "ready", "another weight")


@pytest.mark.parametrize("name", ["light", "dark"])
def test_texts_stand_out_in_light_and_dark(page, name):
    scheme(page, name)
    try:
        assert page.run(LOW_CONTRAST) == []
        with_result(page)
        open_everything(page)
        assert page.run(LOW_CONTRAST) == []
        red, green, blue = page.run(
            "return getComputedStyle(document.body).backgroundColor.match(/[0-9.]+/g).map(Number)")[:3]
        assert (red + green + blue < 200) == (name == "dark")
    finally:
        scheme(page, "")


def test_nothing_is_wider_than_a_narrow_screen(narrow):
    assert narrow.run(TOO_WIDE) == [0, []]
    with_result(narrow)
    open_everything(narrow)
    assert narrow.run(TOO_WIDE) == [0, []]


def test_paper_holds_results_and_no_controls(page):
    with_result(page)
    page.cdp("Emulation.setEmulatedMedia", media="print")
    try:
        assert not page.one("#run").is_displayed() and not page.one("#drop").is_displayed()
        assert page.one("#plot-distribution").is_displayed() and page.one("#results").is_displayed()
    finally:
        page.cdp("Emulation.setEmulatedMedia", media="")
