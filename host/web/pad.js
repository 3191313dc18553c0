// A custom GUI of a parameter (the XY pad): the host draws its raster; the page forwards the mouse.

import {api, bust, reportError} from './api.js';

let strokeCount = 0;

export class Pad {
  constructor(node, entry, studio, panel) {
    this.node = node;
    this.id = entry.id;
    this.studio = studio;
    this.panel = panel;
    this.queue = [];          // events not yet sent, each with its stroke
    this.inFlight = false;
    this.dragging = false;
    this.stroke = null;
    this.lastValue = undefined;

    this.element = document.createElement('div');
    this.element.className = 'pad';
    this.img = document.createElement('img');
    this.img.className = 'pad-raster';
    this.img.id = `pad-${entry.id}`;
    this.img.draggable = false;
    this.img.alt = `${entry.label || 'Pad'}: drag to set, double-click to reset`;
    this.img.tabIndex = 0;
    this.element.append(this.img);

    this.onMove = (e) => this.move(e);
    this.onUp = (e) => this.up(e);
    this.img.addEventListener('mousedown', (e) => this.down(e));
    this.img.addEventListener('dblclick', (e) => {
      e.preventDefault();
      this.send({kind: 'double', ...this.point(e)}, `s${Date.now().toString(36)}-${++strokeCount}`);
    });
  }

  /// Called on every redraw of the panel with the entry's new state.
  update(entry) {
    this.img.dataset.enabled = entry.enabled ? 'true' : 'false';
    const value = JSON.stringify(entry.value);
    if (value !== this.lastValue && !this.inFlight) {
      this.lastValue = value;
      this.refresh();
    }
  }

  refresh() {
    const url = `/api/pad.png?node=${encodeURIComponent(this.node)}&id=${this.id}`;
    this.img.src = bust(url);
  }

  /// The mouse position in the raster's own pixels, whatever size the page shows it at.
  point(e) {
    const rect = this.img.getBoundingClientRect();
    const sx = this.img.naturalWidth && rect.width ? this.img.naturalWidth / rect.width : 1;
    const sy = this.img.naturalHeight && rect.height ? this.img.naturalHeight / rect.height : 1;
    return {x: Math.round((e.clientX - rect.left) * sx), y: Math.round((e.clientY - rect.top) * sy)};
  }

  down(e) {
    if (e.button !== 0 || this.img.dataset.enabled === 'false') return;
    e.preventDefault();
    this.img.focus();
    this.dragging = true;
    this.stroke = `s${Date.now().toString(36)}-${++strokeCount}`;
    window.addEventListener('mousemove', this.onMove);
    window.addEventListener('mouseup', this.onUp);
    this.send({kind: 'down', ...this.point(e)}, this.stroke);
  }

  move(e) {
    if (!this.dragging) return;
    this.send({kind: 'move', ...this.point(e)}, this.stroke);
  }

  up(e) {
    if (!this.dragging) return;
    window.removeEventListener('mousemove', this.onMove);
    window.removeEventListener('mouseup', this.onUp);
    this.dragging = false;
    this.send({kind: 'up', ...this.point(e)}, this.stroke);
  }

  /// Queues an event; moves waiting behind a request collapse into the latest one.
  send(event, stroke) {
    const last = this.queue[this.queue.length - 1];
    if (event.kind === 'move' && last && last.stroke === stroke && last.event.kind === 'move') last.event = event;
    else this.queue.push({stroke, event});
    this.flush();
  }

  async flush() {
    if (this.inFlight || !this.queue.length) return;
    const stroke = this.queue[0].stroke;
    let n = 0;
    while (n < this.queue.length && this.queue[n].stroke === stroke) n++;
    const events = this.queue.splice(0, n).map((q) => q.event);
    this.inFlight = true;
    let ok = false;
    try {
      const answer = await api('POST', '/api/pad', {node: this.node, id: this.id, stroke, events});
      ok = true;
      if (this.panel.node === this.node && answer.panel) this.panel.render(answer.panel);
    } catch (e) {
      reportError(e);
    } finally {
      this.inFlight = false;
    }
    this.refresh();
    this.studio.viewChanged();
    if (this.queue.length) this.flush();
    else if (!this.dragging) this.studio.documentChanged(ok ? {view: false} : {});
  }
}
