// The virtual handheld's page: draws the device from GET /api/state and the `state` events,
// drives it through the POST endpoints, and lists every call from GET /api/events.
//
// Reconnection: the browser's EventSource reconnects by itself (sending Last-Event-ID, so only
// missed calls come back); when it gives up (the process is gone and a different answer came
// back) the page opens a new stream after a growing delay. A new process counts its calls from 1
// and its time from 0 again: a streamed state whose seq is below the previous streamed state's,
// or a call earlier than the one before it, marks the restart in the timeline and streams the
// new process's whole history. (A state's seq may lag the calls streamed with it, so the two
// are not compared.)
//
// The beep: each new startBeep (beep.count going up) plays the tone of beep.last:
//   frequency  20 and above: that many hertz (capped at 20000); below 20 (the library's own
//              default is 12): a step of the beeper's scale, 500 + 250 x step hertz (12: 3500 Hz);
//   duration   milliseconds, played for 30 to 2000;
//   volume     0 to 10 (clamped), amplitude (volume / 10)^2 of half the full scale, 0 silent;
//   timeout, timeout_after: the service's own timeouts, not part of the tone.
// A square wave, as a piezo beeper sounds, with 5 ms ramps so it does not click. Browsers play
// sound only after a gesture on the page: the "play the beep" box is that gesture.
'use strict';

(function () {
  const $ = (id) => document.getElementById(id);
  const kMaxRows = 2000;

  let state = null;           // the last state document
  let lastSeq = 0;            // the last call event shown
  let lastTime = 0;           // its time_ms
  let lastStateSeq = 0;       // the seq of the last streamed state document
  let streamStates = 0;       // state documents the stream brought
  let lastBeepCount = null;   // null until the first state: beeps before the page opened are not played
  let stream = null;
  let retryTimer = null;
  let retryDelay = 500;
  let audio = null;
  let vibrationTimer = null;
  let keysShown = '';         // the key list the controls were built for
  let servicesShown = '';
  const heldByPage = new Set();  // keys this page pressed and has not released

  // ---- requests ----

  function showMessage(text, isError) {
    const m = $('message');
    m.textContent = text;
    m.className = 'message' + (isError ? ' error' : '');
  }

  // POSTs (or another method) and returns the answer's JSON, or null after showing why not.
  async function request(method, path, body, type) {
    const init = { method: method, headers: {} };
    if (body !== undefined) {
      init.headers['Content-Type'] = type || 'application/json';
      init.body = type ? body : JSON.stringify(body);
    }
    let answer;
    try {
      answer = await fetch(path, init);
    } catch (e) {
      showMessage('the device does not answer (' + e.message + ')', true);
      return null;
    }
    let doc = null;
    try { doc = await answer.json(); } catch (e) { /* not JSON: the status says enough */ }
    if (!answer.ok) {
      showMessage((doc && doc.error) || answer.status + ' ' + answer.statusText, true);
      return null;
    }
    return doc || {};
  }

  // Trigger requests go one after the other: a quick click must reach the device as a press
  // and then a release, never the other way round.
  let triggerChain = Promise.resolve();
  function trigger(action, key) {
    triggerChain = triggerChain.then(() => request('POST', '/api/trigger', { action: action, key: key }));
    return triggerChain;
  }

  function press(key) {
    if (heldByPage.has(key)) return;
    heldByPage.add(key);
    markPressed(key, true);
    trigger('press', key);
  }

  function release(key) {
    if (!heldByPage.delete(key)) return;
    markPressed(key, false);
    trigger('release', key);
  }

  // ---- the device drawing and the panels ----

  function markPressed(key, pressed) {
    document.querySelectorAll('[data-key="' + key + '"]').forEach((el) => el.classList.toggle('pressed', pressed));
  }

  function holdable(el, key) {
    el.dataset.key = key;
    el.addEventListener('pointerdown', (e) => { e.preventDefault(); press(key); });
    el.addEventListener('pointerup', () => release(key));
    el.addEventListener('pointerleave', () => release(key));
    el.addEventListener('pointercancel', () => release(key));
  }

  const svgNS = 'http://www.w3.org/2000/svg';
  function svg(tag, attrs) {
    const el = document.createElementNS(svgNS, tag);
    for (const name in attrs) el.setAttribute(name, attrs[name]);
    return el;
  }

  // The main trigger sits on the front below the screen; the others on the sides, alternating.
  function buildKeys(trig) {
    const side = $('side-keys');
    const centre = $('center-key-slot');
    side.replaceChildren();
    centre.replaceChildren();
    const buttons = $('keys');
    buttons.replaceChildren();
    let n = 0;
    trig.keys.forEach((key, i) => {
      const main = key === trig.main_key;
      const shortcut = i < 9 ? String(i + 1) : '';
      let shape;
      let label;
      if (main) {
        shape = svg('rect', { x: 70, y: 320, width: 100, height: 56, rx: 20, class: 'key main', id: 'device-trigger' });
        label = svg('text', { x: 120, y: 352, class: 'key-label' });
        centre.append(shape, label);
      } else {
        const left = n % 2 === 0;
        const y = 150 + Math.floor(n / 2) * 70;
        shape = svg('rect', { x: left ? 14 : 206, y: y, width: 20, height: 56, rx: 6, class: 'key' });
        label = svg('text', { x: left ? 24 : 216, y: y + 32, class: 'key-label' });
        side.append(shape, label);
        ++n;
      }
      label.textContent = key;
      holdable(shape, key);
      const button = document.createElement('button');
      button.textContent = (main ? 'Main trigger ' : 'Key ') + key + (shortcut ? ' [' + (main ? 'Space' : shortcut) + ']' : '');
      if (main) button.id = 'trigger-main';
      holdable(button, key);
      buttons.append(button);
    });
  }

  function buildServices(services) {
    const body = $('services').tBodies[0];
    body.replaceChildren();
    for (const s of services) {
      const row = body.insertRow();
      row.dataset.service = s.name;
      row.insertCell().textContent = s.name;
      const status = row.insertCell();
      status.className = 'status';
      const actions = row.insertCell();
      for (const action of ['kill', 'restart']) {
        const b = document.createElement('button');
        b.id = action + '-' + s.name;
        b.textContent = action === 'kill' ? 'Kill' : 'Restart';
        b.addEventListener('click', async () => {
          const done = await request('POST', '/api/services/' + encodeURIComponent(s.name) + '/' + action);
          if (done) showMessage(s.name + (done.alive ? ' is running' : ' was killed'), false);
        });
        actions.append(b);
      }
    }
  }

  function renderState(s) {
    state = s;
    $('profile').textContent = 'profile ' + s.profile;

    // The LED: its colour, or dark when off.
    const led = $('led');
    const color = s.led && s.led.color;
    led.dataset.color = color || 'off';
    led.style.fill = color || '';
    const halo = $('led-halo');
    halo.setAttribute('opacity', color ? '0.8' : '0');
    $('screen-line1').textContent = color === '#FF0000' ? 'decoding…' : color === '#00FF00' ? 'good decode' : color ? 'LED ' + color : 'ready';

    // Keys: rebuilt only when the device's key list changes.
    const keyList = JSON.stringify([s.trigger.keys, s.trigger.main_key]);
    if (keyList !== keysShown) {
      keysShown = keyList;
      buildKeys(s.trigger);
    }
    document.querySelectorAll('[data-key]').forEach((el) => {
      const key = Number(el.dataset.key);
      el.classList.toggle('pressed', s.trigger.pressed.includes(key) || heldByPage.has(key));
    });
    $('screen-line2').textContent = s.trigger.pressed.length ? 'held: ' + s.trigger.pressed.join(', ') : '';

    // Services.
    const names = s.services.map((x) => x.name).join(',');
    if (names !== servicesShown) {
      servicesShown = names;
      buildServices(s.services);
    }
    for (const svc of s.services) {
      const row = document.querySelector('#services tr[data-service="' + svc.name + '"]');
      const status = row.querySelector('.status');
      status.textContent = svc.alive ? 'running' : 'dead';
      status.className = 'status ' + (svc.alive ? 'alive' : 'dead');
      $('kill-' + svc.name).disabled = !svc.alive;
    }

    // The beep: one tone per new startBeep.
    const beep = s.beep;
    if (lastBeepCount !== null && beep.count > lastBeepCount && beep.last) playBeep(beep.last);
    lastBeepCount = beep.count;
    $('beep-status').textContent = beep.last
      ? 'beeps: ' + beep.count + ' (' + describeTone(beep.last) + ')'
      : 'beeps: ' + beep.count;

    // The vibrator.
    // A state comes when a vibration starts; its end may bring none, so the page ends it too.
    const vib = s.vibrator;
    $('device').classList.toggle('vibrating', vib.active);
    clearTimeout(vibrationTimer);
    if (vib.active) {
      vibrationTimer = setTimeout(() => $('device').classList.remove('vibrating'), vib.last ? vib.last.duration : 300);
    }
    const vs = $('vibrator-status');
    vs.classList.toggle('active', vib.active);
    vs.textContent = !vib.present ? 'no external vibrator'
      : (vib.active ? 'vibrating' : 'vibrator idle') + ' (' + vib.count + (vib.last ? ', last ' + vib.last.duration + ' ms' : '') + ')';

    // Serial scanner.
    const serial = s.serial;
    $('serial-panel').classList.toggle('absent', !serial.present);
    $('serial-status').textContent = !serial.present ? 'this device has no serial interface'
      : (serial.plugged ? 'scanner plugged in' : 'no scanner plugged in') + '; ' + serial.bytes_sent + ' bytes sent';
    $('serial-plug').disabled = !serial.present || serial.plugged;
    $('serial-unplug').disabled = !serial.present || !serial.plugged;

    // Imager.
    const im = s.imager;
    $('imager-panel').classList.toggle('absent', !im.present);
    $('imager-status').textContent = !im.present ? 'this device has no imager'
      : (im.streaming ? 'streaming' : 'not streaming') + (im.width ? ', ' + im.width + '×' + im.height : '') +
        ', ' + im.frames_delivered + ' frames delivered' + (im.source ? ', showing ' + (im.source === 'image' ? 'the uploaded image' : 'the test pattern') : '');
  }

  // ---- the beep ----

  function toneOf(p) {
    const hz = p.frequency >= 20 ? Math.min(p.frequency, 20000) : 500 + 250 * Math.max(0, p.frequency);
    const ms = Math.min(Math.max(p.duration, 30), 2000);
    const volume = Math.min(Math.max(p.volume, 0), 10);
    return { hz: hz, ms: ms, gain: 0.5 * Math.pow(volume / 10, 2) };
  }

  function describeTone(p) {
    const t = toneOf(p);
    return Math.round(t.hz) + ' Hz, ' + t.ms + ' ms, volume ' + p.volume;
  }

  function playBeep(p) {
    const speaker = $('speaker');
    speaker.classList.add('playing');
    setTimeout(() => speaker.classList.remove('playing'), Math.max(toneOf(p).ms, 150));
    if (!$('sound').checked || !audio) return;
    const t = toneOf(p);
    if (t.gain === 0) return;
    const start = audio.currentTime + 0.01;
    const end = start + t.ms / 1000;
    const osc = audio.createOscillator();
    osc.type = 'square';
    osc.frequency.value = t.hz;
    const gain = audio.createGain();
    gain.gain.setValueAtTime(0, start);
    gain.gain.linearRampToValueAtTime(t.gain, start + 0.005);
    gain.gain.setValueAtTime(t.gain, end - 0.005);
    gain.gain.linearRampToValueAtTime(0, end);
    osc.connect(gain).connect(audio.destination);
    osc.start(start);
    osc.stop(end + 0.01);
  }

  $('sound').addEventListener('change', () => {
    if ($('sound').checked) {
      audio = audio || new AudioContext();
      audio.resume();
    }
  });

  // ---- the timeline ----

  function filterMatches(row) {
    const f = $('filter').value.trim().toLowerCase();
    return !f || row.textContent.toLowerCase().includes(f);
  }

  function addRow(cells, className, service) {
    const body = $('timeline');
    const row = body.insertRow();
    if (className) row.className = className;
    if (service) row.dataset.service = service;
    cells.forEach((text, i) => {
      const cell = row.insertCell();
      cell.textContent = text;
      if (i === cells.length - 1) cell.className = 'args';
    });
    row.hidden = !filterMatches(row);
    while (body.rows.length > kMaxRows) body.deleteRow(0);
    $('event-count').textContent = 'last seq ' + lastSeq;
    if ($('follow').checked) {
      const scroll = $('timeline-scroll');
      scroll.scrollTop = scroll.scrollHeight;
    }
  }

  function addCall(c) {
    if (c.time_ms < lastTime) return restarted();
    if (c.seq <= lastSeq) return;  // already shown (a resent history)
    lastSeq = c.seq;
    lastTime = c.time_ms;
    const thread = c.tid !== undefined ? c.thread + ' (' + c.tid + ')' : c.thread;
    addRow([c.seq, c.time_ms.toFixed(3), thread, c.service, c.method, c.args], '', c.service);
  }

  $('filter').addEventListener('input', () => {
    for (const row of $('timeline').rows) row.hidden = !filterMatches(row);
  });
  $('clear').addEventListener('click', () => $('timeline').replaceChildren());

  // ---- the event stream ----

  function setConnection(what, text) {
    const c = $('connection');
    c.dataset.state = what;
    c.textContent = text;
  }

  function connect(fresh) {
    clearTimeout(retryTimer);
    if (stream) stream.close();
    // A fresh stream asks for everything still held; otherwise only what came after lastSeq.
    stream = new EventSource(fresh ? '/api/events' : '/api/events?since=' + lastSeq);
    stream.addEventListener('open', () => {
      retryDelay = 500;
      setConnection('live', 'live');
      refreshState();
    });
    stream.addEventListener('call', (e) => addCall(JSON.parse(e.data)));
    stream.addEventListener('gap', (e) => {
      const g = JSON.parse(e.data);
      addRow(['', '', '', '', '', 'calls ' + g.from + ' to ' + g.to + ' are no longer kept'], 'gap');
    });
    stream.addEventListener('state', (e) => {
      ++streamStates;
      const s = JSON.parse(e.data);
      if (s.seq < lastStateSeq) return restarted();
      lastStateSeq = s.seq;
      renderState(s);
    });
    stream.addEventListener('error', () => {
      // CONNECTING: the browser retries by itself. CLOSED: it gave up; we retry.
      setConnection('lost', 'reconnecting…');
      if (stream.readyState === EventSource.CLOSED) {
        retryTimer = setTimeout(() => connect(false), retryDelay);
        retryDelay = Math.min(retryDelay * 2, 5000);
      }
    });
  }

  function restarted() {
    lastSeq = 0;
    lastTime = 0;
    lastStateSeq = 0;
    lastBeepCount = null;
    heldByPage.clear();
    addRow(['', '', '', '', '', 'the device restarted'], 'restart');
    connect(true);
  }

  // The state as it is now, unless the stream brought a newer one meanwhile.
  async function refreshState() {
    const before = streamStates;
    try {
      const answer = await fetch('/api/state');
      const s = await answer.json();
      if (answer.ok && streamStates === before) renderState(s);
    } catch (e) { /* the stream's error handler takes care of reconnecting */ }
  }

  // ---- controls ----

  document.addEventListener('keydown', (e) => {
    if (e.repeat || !state || e.target.closest('input, textarea, select')) return;
    const key = shortcutKey(e);
    if (key !== undefined) { e.preventDefault(); press(key); }
  });
  document.addEventListener('keyup', (e) => {
    const key = shortcutKey(e);
    if (key === undefined || e.target.closest('input, textarea, select')) return;
    e.preventDefault();  // a focused button would take Space as a click
    release(key);
  });
  // Keys held when the window loses focus would never see their key-up.
  window.addEventListener('blur', () => heldByPage.forEach(release));

  function shortcutKey(e) {
    if (!state) return undefined;
    if (e.code === 'Space') return state.trigger.main_key;
    const digit = /^Digit([1-9])$/.exec(e.code);
    if (!digit) return undefined;
    const key = state.trigger.keys[Number(digit[1]) - 1];
    return key === state.trigger.main_key ? undefined : key;
  }

  $('serial-plug').addEventListener('click', () => request('POST', '/api/serial/plug'));
  $('serial-unplug').addEventListener('click', () => request('POST', '/api/serial/unplug'));
  $('serial-form').addEventListener('submit', async (e) => {
    e.preventDefault();
    const text = $('serial-text').value + ($('serial-cr').checked ? '\r' : '');
    if (!text) return;
    const done = await request('POST', '/api/serial/data', { text: text });
    if (done) showMessage('the scanner sent ' + done.bytes + ' bytes', false);
  });

  $('imager-file').addEventListener('change', async () => {
    const file = $('imager-file').files[0];
    if (!file) return;
    const type = /\.png$/i.test(file.name) ? 'image/png'
      : /\.pgm$/i.test(file.name) ? 'image/x-portable-graymap' : 'application/octet-stream';
    const done = await request('POST', '/api/imager/frames', await file.arrayBuffer(), type);
    if (done) showMessage('frames now show ' + file.name + ' (' + done.width + '×' + done.height + ')', false);
    $('imager-file').value = '';
  });
  $('imager-pattern').addEventListener('click', async () => {
    if (await request('DELETE', '/api/imager/frames')) showMessage('frames show the test pattern again', false);
  });

  connect(true);
})();
