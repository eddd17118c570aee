#include "streaming/browser_page.h"

#include "base/translate.h"
#include "overlay/settings/slots.h"

namespace vt {

namespace {

constexpr const char* kOverlayPage = R"html(<!doctype html>
<html lang="en">
<head>
<meta charset="utf-8">
<title>Vantorel - __NAME__</title>
<style>
html, body { margin: 0; overflow: hidden; background: transparent; }
canvas { display: block; }
</style>
</head>
<body>
<canvas id="picture" width="1" height="1"></canvas>
<script>
"use strict";
const SLOT = "__SLOT__", KEY = "__KEY__";
const canvas = document.getElementById("picture");
const context = canvas.getContext("2d");
let W = 0, H = 0, parts = false, pixels = null;

function resize(message) {
  W = message.w;
  H = message.h;
  parts = message.parts === true;
  pixels = new Uint32Array(parts ? W * H : 0);
  canvas.width = W;
  canvas.height = H;
  context.clearRect(0, 0, W, H);
}

function put(buffer, x, y, w, h) {
  context.putImageData(new ImageData(new Uint8ClampedArray(buffer, 0, w * h * 4), w, h), x, y);
}

function paint(buffer) {
  // Any other length: a resize is in flight; wait for the size message.
  if (buffer.byteLength === W * H * 4) put(buffer, 0, 0, W, H);
}

// The number of parts, the place and size of each, then their pixels: runs of one, stretches of others.
function paintParts(buffer) {
  const words = new Uint32Array(buffer), count = words[0];
  let at = 1 + count * 2;
  for (let i = 1; i < 1 + count * 2; i += 2) {
    const w = words[i + 1] & 0xffff, h = words[i + 1] >>> 16;
    for (let to = 0; to < w * h;) {
      const token = words[at++], end = to + (token & 0x7fffffff);
      if (token >>> 31) {
        pixels.fill(words[at++], to, end);
        to = end;
      } else {
        while (to < end) pixels[to++] = words[at++];
      }
    }
    put(pixels.buffer, words[i] & 0xffff, words[i] >>> 16, w, h);
  }
}

function connect() {
  const socket = new WebSocket(
    "ws://" + location.host + "/ws?slot=" + SLOT + "&key=" + KEY + "&v=2&parts=1");
  socket.binaryType = "arraybuffer";
  socket.onmessage = (event) => {
    if (typeof event.data === "string") {
      const message = JSON.parse(event.data);
      if (message.type === "size") resize(message);
    } else if (parts) {
      paintParts(event.data);
    } else {
      paint(event.data);
    }
    // Got it: the server may send the next one.
    if (socket.readyState === WebSocket.OPEN) socket.send("k");
  };
  socket.onclose = () => setTimeout(connect, 1000);
  socket.onerror = () => socket.close();
}
connect();
</script>
</body>
</html>
)html";

constexpr const char* kIndexPage = R"html(<!doctype html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width">
<title>Vantorel - __TITLE__</title>
<style>
body { margin: 32px; background: #16171b; color: #e8e8ea; font: 15px system-ui, sans-serif; }
h1 { font-size: 22px; font-weight: 600; }
p { color: #a4a6ad; max-width: 70ch; }
ul { list-style: none; padding: 0; display: grid; gap: 16px;
     grid-template-columns: repeat(auto-fill, minmax(320px, 1fr)); }
li { background: #212228; border-radius: 10px; overflow: hidden; }
iframe { border: 0; transform-origin: 0 0; pointer-events: none; }
.view { height: 200px; overflow: hidden;
        background: repeating-conic-gradient(#2b2c33 0 25%, #25262c 0 50%) 0 0 / 24px 24px; }
.bar { display: flex; align-items: center; justify-content: space-between; padding: 10px 14px; }
small { display: block; color: #a4a6ad; }
button { font: inherit; color: inherit; background: #34363f; border: 0; border-radius: 6px;
         padding: 6px 12px; white-space: nowrap; cursor: pointer; }
</style>
</head>
<body>
<h1>__TITLE__</h1>
<p>__HELP__</p>
<ul>
__ROWS__</ul>
<script>
"use strict";
// The clipboard proper is open to secure pages alone, which one of another PC is not.
function copy(text) {
  const field = document.createElement("textarea");
  field.value = text;
  document.body.append(field);
  field.select();
  const done = document.execCommand("copy");
  field.remove();
  return done;
}
// A streaming program is told the size that it must give the page: shown beside the name.
function fit(item) {
  const frame = item.querySelector("iframe"), view = item.querySelector(".view");
  const canvas = frame.contentDocument && frame.contentDocument.getElementById("picture");
  if (!canvas || canvas.width < 2) return;
  const scale = Math.min(1, view.clientWidth / canvas.width, view.clientHeight / canvas.height);
  frame.style.width = canvas.width + "px";
  frame.style.height = canvas.height + "px";
  frame.style.transform = "scale(" + scale + ")";
  item.querySelector("small").textContent = canvas.width + " x " + canvas.height;
}
setInterval(() => document.querySelectorAll("li").forEach(fit), 500);
for (const button of document.querySelectorAll("button")) {
  button.onclick = () => {
    const said = button.textContent;
    if (!copy(new URL(button.dataset.path, location.href).href)) return;
    button.textContent = "__COPIED__";
    setTimeout(() => { button.textContent = said; }, 1500);
  };
}
</script>
</body>
</html>
)html";

constexpr const char* kIndexRow =
    R"html(<li><div class="view"><iframe loading="lazy" tabindex="-1" title="__NAME__" src="__PATH__"></iframe></div>
<div class="bar"><span>__NAME__<small></small></span><button data-path="__PATH__">__COPY__</button></div></li>
)html";

std::string replaced(std::string text, std::string_view what, std::string_view with) {
    for (size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size())
        text.replace(at, what.size(), with);
    return text;
}

std::string htmlText(std::string_view text) {
    std::string out;
    for (const char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '"':
            out += "&quot;";
            break;
        default:
            out += c;
        }
    }
    return out;
}

} // namespace

std::string overlayPage(std::string_view slotKey, std::string_view accessKey) {
    std::string page = replaced(kOverlayPage, "__SLOT__", slotKey);
    page = replaced(std::move(page), "__NAME__", slotKey);
    return replaced(std::move(page), "__KEY__", accessKey);
}

std::string overlayIndexPage(const std::vector<int>& slots, std::string_view accessKey) {
    std::string rows;
    for (const int slot : slots) {
        const OverlaySlot* known = overlaySlot(slot);
        if (!known) continue;
        const char* name = *known->listName ? known->listName : known->key;
        std::string row = replaced(kIndexRow, "__NAME__", htmlText(Translate(name)));
        const std::string path = std::string("/overlay/") + known->key;
        rows += replaced(std::move(row), "__PATH__", path + "?key=" + std::string(accessKey));
    }
    std::string page = replaced(kIndexPage, "__ROWS__", rows);
    page = replaced(std::move(page), "__TITLE__", htmlText(Translate("Overlays")));
    page = replaced(std::move(page), "__COPY__", htmlText(Translate("Copy browser URL")));
    page = replaced(std::move(page), "__COPIED__", htmlText(Translate("Copied")));
    return replaced(std::move(page), "__HELP__",
                    htmlText(Translate("Copy an overlay's address and paste it into a Browser "
                                       "source in OBS, with the size beside its name. It carries "
                                       "transparency, so no Luma Key filter is needed.")));
}

} // namespace vt
