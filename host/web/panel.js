// The attribute manager: draws the host's panel model of one node and sends the user's edits.
// Every rule (what is hidden, greyed out, open, in range) comes from the model; the page only draws it.

import {api, notice, showDialogs, reportError} from './api.js';
import {Pad} from './pad.js';

const NUMERIC = new Set(['REAL', 'LONG']);

/// Rounds a float for display without hiding its value behind a long tail of digits.
function fmt(x) {
  if (typeof x !== 'number' || !Number.isFinite(x)) return '';
  return String(Math.round(x * 1e6) / 1e6);
}

/// The value as the user sees and types it: degrees for DEGREE. A percentage is already the
/// number shown beside its % sign, and ranges come in the units shown.
function toDisplay(entry, value) {
  if (value === null || value === undefined) return null;
  if (entry.unit === 'DEGREE') return typeof value === 'object' ? value.deg : (value * 180) / Math.PI;
  return value;
}

/// The typed number back into the scene-file form the server takes.
function fromDisplay(entry, x) {
  if (entry.unit === 'DEGREE') return {deg: x};
  if (entry.type === 'LONG') return Math.round(x);
  return x;
}

const UNIT_SUFFIX = {DEGREE: '°', PERCENT: '%'};

export class Panel {
  constructor(studio) {
    this.studio = studio;
    this.form = document.getElementById('panel');
    this.title = document.getElementById('panel-title');
    this.node = null;
    this.model = null;
    this.userOpen = new Map();   // group key -> {model: open the model said when toggled, open: user's choice}
    this.pads = new Map();       // "node:id" -> Pad, kept across redraws so a drag survives them
    this.loadSeq = 0;
  }

  /// Shows the panel of a node (null clears it).
  async show(node) {
    this.node = node;
    return this.reload();
  }

  async reload() {
    const node = this.node;
    const seq = ++this.loadSeq;
    if (!node) {
      this.render(null);
      return null;
    }
    try {
      const model = await api('GET', `/api/panel?node=${encodeURIComponent(node)}`);
      if (seq === this.loadSeq) this.render(model);
      return model;
    } catch (e) {
      if (seq !== this.loadSeq) return null;
      if (!e.status) return reportError(e);
      this.render(null, e.message);   // the host's reason: no such node, no description
      return null;
    }
  }

  /// Redraws from a model the server sent; keeps focus on the same control.
  render(model, why = null) {
    ++this.loadSeq;   // an older GET must not overwrite this answer
    const focused = document.activeElement && this.form.contains(document.activeElement)
      ? document.activeElement.dataset.focusKey : null;
    this.model = model;
    this.form.replaceChildren();
    this.form.dataset.node = model ? model.node : (this.node || '');
    this.form.dataset.revision = model ? model.revision : '';
    this.title.textContent = model ? `— ${this.studio.nodeName(model.node) || model.name}` : '';
    if (!model) {
      const empty = document.createElement('p');
      empty.className = 'empty';
      empty.textContent = why ? `No attributes to show: ${why}.`
        : 'Select an object, tag, the render settings or a video post.';
      this.form.append(empty);
      return;
    }
    const children = new Map();
    const ids = new Set(model.entries.map((e) => e.id));
    for (const e of model.entries) {
      const parent = ids.has(e.parent) ? e.parent : 0;
      if (!children.has(parent)) children.set(parent, []);
      children.get(parent).push(e);
    }
    const usedPads = new Set();
    this.drawChildren(this.form, children, 0, usedPads);
    for (const [key, pad] of this.pads) {
      if (!usedPads.has(key) && !pad.dragging) this.pads.delete(key);
    }
    if (focused) {
      const again = this.form.querySelector(`[data-focus-key="${CSS.escape(focused)}"]`);
      if (again) again.focus();
    }
  }

  drawChildren(into, children, parent, usedPads) {
    for (const entry of children.get(parent) || []) {
      if (entry.hidden) continue;
      if (entry.type === 'GROUP') into.append(this.drawGroup(entry, children, usedPads));
      else into.append(this.drawRow(entry, usedPads));
    }
  }

  groupKey(entry) {
    return `${this.model.description}|${this.model.node}|${entry.id}`;
  }

  isOpen(entry) {
    const key = this.groupKey(entry);
    const mine = this.userOpen.get(key);
    if (mine && mine.model === !!entry.open) return mine.open;
    // The model's default changed (a lens switch, say): it wins again.
    this.userOpen.delete(key);
    return !!entry.open;
  }

  drawGroup(entry, children, usedPads) {
    const open = this.isOpen(entry);
    const group = document.createElement('section');
    group.className = 'group';
    Object.assign(group.dataset, {symbol: entry.symbol || '', id: entry.id, type: 'GROUP', open: open ? 'true' : 'false'});
    if (!entry.enabled) group.classList.add('disabled');
    const head = document.createElement('button');
    head.type = 'button';
    head.className = 'group-head';
    head.textContent = entry.label || entry.symbol || `Group ${entry.id}`;
    head.setAttribute('aria-expanded', open ? 'true' : 'false');
    const bodyId = `group-body-${entry.id}`;
    head.setAttribute('aria-controls', bodyId);
    head.dataset.focusKey = `group:${entry.id}`;
    head.addEventListener('click', () => {
      this.userOpen.set(this.groupKey(entry), {model: !!entry.open, open: !this.isOpen(entry)});
      this.render(this.model);
    });
    const body = document.createElement('div');
    body.className = 'group-body';
    body.id = bodyId;
    body.hidden = !open;
    this.drawChildren(body, children, entry.id, usedPads);
    group.append(head, body);
    return group;
  }

  drawRow(entry, usedPads) {
    const row = document.createElement('div');
    row.className = 'row';
    Object.assign(row.dataset, {symbol: entry.symbol || '', id: entry.id, type: entry.type,
      enabled: entry.enabled ? 'true' : 'false'});
    if (!entry.enabled) row.classList.add('disabled');
    const controlId = `entry-${entry.id}`;
    const label = document.createElement('label');
    label.className = 'label';
    label.htmlFor = controlId;
    const control = document.createElement('div');
    control.className = 'control';

    const widget = this.drawControl(entry, controlId, usedPads);
    if (entry.type === 'SEPARATOR') {
      row.classList.add('wide');
      row.append(widget);
      return row;
    }
    // A static text's label is its text: it sits in the value column, as a note beside the fields.
    if (entry.type !== 'BUTTON' && entry.type !== 'STATICTEXT') label.textContent = entry.label || '';
    control.append(widget);
    if (UNIT_SUFFIX[entry.unit] && NUMERIC.has(entry.type)) {
      const unit = document.createElement('span');
      unit.className = 'unit';
      unit.textContent = UNIT_SUFFIX[entry.unit];
      control.append(unit);
    }
    row.append(label, control);
    for (const input of row.querySelectorAll('input, select, button')) {
      if (!entry.enabled) input.disabled = true;
    }
    return row;
  }

  drawControl(entry, controlId, usedPads) {
    const v = entry.value;
    const key = `entry:${entry.id}`;
    switch (entry.type) {
      case 'BOOL': {
        const box = input('checkbox', controlId, key);
        box.checked = !!v;
        box.addEventListener('change', () => this.edit(entry, box.checked));
        return box;
      }
      case 'LONG':
      case 'REAL': {
        if (entry.cycle && entry.cycle.length) {
          const select = document.createElement('select');
          select.id = controlId;
          select.dataset.focusKey = key;
          for (const choice of entry.cycle) {
            const option = document.createElement('option');
            option.value = String(choice.value);
            option.textContent = choice.label;
            select.append(option);
          }
          if (v !== null && v !== undefined) select.value = String(v);
          else select.selectedIndex = -1;
          select.addEventListener('change', () => this.edit(entry, Number(select.value)));
          return select;
        }
        const number = input('number', controlId, key);
        const shown = toDisplay(entry, v);
        number.value = shown === null ? '' : fmt(shown);
        if (entry.min !== null && entry.min !== undefined) number.min = String(entry.min);
        if (entry.max !== null && entry.max !== undefined) number.max = String(entry.max);
        number.step = entry.step ? String(entry.step) : (entry.type === 'LONG' ? '1' : 'any');
        number.addEventListener('change', () => {
          // A field emptied on the way to a new number is no edit.
          if (number.value.trim() === '' || Number.isNaN(number.valueAsNumber)) return;
          this.edit(entry, fromDisplay(entry, number.valueAsNumber));
        });
        return number;
      }
      case 'VECTOR': {
        if (entry.customGui) {
          const padKey = `${this.model.node}:${entry.id}`;
          let pad = this.pads.get(padKey);
          if (!pad) {
            pad = new Pad(this.model.node, entry, this.studio, this);
            this.pads.set(padKey, pad);
          }
          usedPads.add(padKey);
          pad.update(entry);
          return pad.element;
        }
        const box = document.createElement('span');
        box.className = 'vector';
        const parts = Array.isArray(v) ? v : [0, 0, 0];
        const inputs = ['X', 'Y', 'Z'].map((axis, i) => {
          const n = input('number', i === 0 ? controlId : `${controlId}-${i}`, `${key}:${i}`);
          n.step = entry.step ? String(entry.step) : 'any';
          n.value = fmt(parts[i]);
          n.setAttribute('aria-label', `${entry.label} ${axis}`);
          box.append(n);
          return n;
        });
        for (const n of inputs) {
          n.addEventListener('change', () => {
            const xyz = inputs.map((m) => m.valueAsNumber);
            if (xyz.some(Number.isNaN)) return notice(`${entry.label}: type three numbers`, 'error');
            this.edit(entry, xyz);
          });
        }
        return box;
      }
      case 'STRING':
      case 'FILENAME': {
        const text = input('text', controlId, key);
        text.value = typeof v === 'string' ? v : '';
        text.addEventListener('change', () => this.edit(entry, text.value));
        return text;
      }
      case 'LINK': {
        const text = input('text', controlId, key);
        text.value = v && typeof v === 'object' && v.link ? v.link : '';
        text.placeholder = 'object name';
        text.addEventListener('change', () => this.edit(entry, text.value ? {link: text.value} : null));
        return text;
      }
      case 'BUTTON': {
        const button = document.createElement('button');
        button.type = 'button';
        button.id = controlId;
        button.dataset.focusKey = key;
        button.textContent = entry.label || entry.symbol;
        button.addEventListener('click', () => this.press(entry));
        return button;
      }
      case 'BITMAPBUTTON': {
        const button = document.createElement('button');
        button.type = 'button';
        button.id = controlId;
        button.className = 'bitmap-button';
        button.dataset.focusKey = key;
        button.setAttribute('aria-label', entry.label || 'Picture button');
        if (entry.bitmap) {
          const img = document.createElement('img');
          img.src = entry.bitmap;
          img.alt = entry.label || '';
          // The node may have no picture for it (an empty cell of a layout): an empty button then.
          img.addEventListener('error', () => {
            img.remove();
            button.classList.add('empty');
          });
          button.append(img);
        } else {
          button.textContent = entry.label || '…';
        }
        button.addEventListener('click', () => this.press(entry));
        return button;
      }
      case 'STATICTEXT': {
        const p = document.createElement('p');
        p.className = 'static';
        p.textContent = typeof v === 'string' && v ? v : (entry.label || '');
        return p;
      }
      case 'SEPARATOR':
        return document.createElement('hr');
      default: {
        // A kind the page has no editor for: shown, not editable.
        const out = document.createElement('output');
        out.id = controlId;
        out.className = 'readonly';
        if (v && typeof v === 'object' && 'link' in v) out.textContent = v.link;
        else out.textContent = v === null || v === undefined ? '—' : JSON.stringify(v);
        return out;
      }
    }
  }

  /// The user's edit of one parameter: one undo step on the server, then everything redrawn.
  async edit(entry, value) {
    const node = this.model.node;
    try {
      const answer = await api('POST', '/api/edit', {node, id: entry.id, value});
      if (this.node === node) this.render(answer.panel);
      showDialogs(answer.dialogs);
      this.studio.documentChanged();
    } catch (e) {
      reportError(e);
      this.reload();   // the server changed nothing: put the old value back
    }
  }

  /// A button press. The host's buttons may ask yes/no questions; the user answers up front.
  async press(entry) {
    const node = this.model.node;
    const name = entry.label || entry.symbol || 'this button';
    const yes = window.confirm(`${name}\n\nIf it asks a question, answer Yes?\n(OK: Yes, Cancel: No)`);
    try {
      const answer = await api('POST', '/api/press', {node, id: entry.id, answer: yes ? 'yes' : 'no'});
      if (this.node === node) this.render(answer.panel);
      showDialogs(answer.dialogs);
      this.studio.openAll(answer.opened);
      this.studio.documentChanged();
    } catch (e) {
      reportError(e);
      this.reload();
    }
  }
}

function input(type, id, focusKey) {
  const el = document.createElement('input');
  el.type = type;
  el.id = id;
  el.dataset.focusKey = focusKey;
  return el;
}
