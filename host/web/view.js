// The viewport: the host's editor view as a picture, the camera choice, orbit, pan and zoom.

import {api, bust, reportError} from './api.js';

export class Viewport {
  constructor(studio) {
    this.studio = studio;
    this.box = document.getElementById('view-box');
    this.img = document.getElementById('viewport');
    this.select = document.getElementById('camera-select');
    this.loading = false;
    this.stale = false;
    this.moves = [];         // camera moves waiting behind a request: {kind: orbit|pan|zoom, amount}
    this.moving = false;
    this.drag = null;

    this.img.addEventListener('load', () => this.loaded());
    this.img.addEventListener('error', () => this.loaded());
    this.select.addEventListener('change', () => this.post({camera: this.select.value}));
    this.box.addEventListener('mousedown', (e) => this.down(e));
    this.box.addEventListener('contextmenu', (e) => e.preventDefault());
    this.box.addEventListener('auxclick', (e) => e.preventDefault());
    this.box.addEventListener('wheel', (e) => {
      e.preventDefault();
      // Wheel up brings the camera closer: factors under 1.
      const factor = Math.exp(Math.max(-1, Math.min(1, e.deltaY * 0.0015)));
      this.queueMove('zoom', factor);
    }, {passive: false});
    this.onMove = (e) => this.move(e);
    this.onUp = () => this.up();
    let resizeTimer = null;
    new ResizeObserver(() => {
      clearTimeout(resizeTimer);
      resizeTimer = setTimeout(() => this.redraw(), 150);
    }).observe(this.box);
  }

  /// Asks for a fresh picture; while one loads, one more is asked for when it arrives.
  redraw() {
    // A hidden tab has no size; showing it again redraws.
    if (!this.box.clientWidth || !this.box.clientHeight) return;
    if (this.loading) {
      this.stale = true;
      return;
    }
    const w = Math.max(16, Math.min(4096, Math.round(this.box.clientWidth)));
    const h = Math.max(16, Math.min(4096, Math.round(this.box.clientHeight)));
    this.loading = true;
    this.stale = false;
    this.img.src = bust(`/api/view.png?w=${w}&h=${h}`);
  }

  loaded() {
    this.loading = false;
    this.img.dataset.loads = String(Number(this.img.dataset.loads || 0) + 1);
    if (this.stale) this.redraw();
  }

  /// The camera list: the editor camera and the scene's cameras.
  async refreshCameras() {
    try {
      this.showState(await api('GET', '/api/view'));
    } catch (e) {
      reportError(e);
    }
  }

  showState(state) {
    const names = ['editor', ...(state.cameras || [])];
    const current = [...this.select.options].map((o) => o.value);
    if (names.join('\n') !== current.join('\n')) {
      this.select.replaceChildren(...names.map((name) => {
        const option = document.createElement('option');
        option.value = name;
        option.textContent = name === 'editor' ? 'Editor Camera' : name;
        return option;
      }));
    }
    this.select.value = state.camera;
  }

  async post(body) {
    try {
      this.showState(await api('POST', '/api/view', body));
    } catch (e) {
      reportError(e);
    }
    this.redraw();
  }

  down(e) {
    if (e.button !== 0 && e.button !== 1) return;
    e.preventDefault();
    this.drag = {x: e.clientX, y: e.clientY, pan: e.button === 1 || e.shiftKey};
    this.box.classList.add('dragging');
    window.addEventListener('mousemove', this.onMove);
    window.addEventListener('mouseup', this.onUp);
  }

  move(e) {
    if (!this.drag) return;
    const dx = e.clientX - this.drag.x, dy = e.clientY - this.drag.y;
    this.drag.x = e.clientX;
    this.drag.y = e.clientY;
    if (dx || dy) this.queueMove(this.drag.pan ? 'pan' : 'orbit', [dx, dy]);
  }

  up() {
    this.drag = null;
    this.box.classList.remove('dragging');
    window.removeEventListener('mousemove', this.onMove);
    window.removeEventListener('mouseup', this.onUp);
  }

  /// Sums moves of one kind while a request is out, so a fast drag costs few requests.
  queueMove(kind, amount) {
    const last = this.moves[this.moves.length - 1];
    if (last && last.kind === kind) {
      if (kind === 'zoom') last.amount *= amount;
      else last.amount = [last.amount[0] + amount[0], last.amount[1] + amount[1]];
    } else {
      this.moves.push({kind, amount});
    }
    this.flushMoves();
  }

  async flushMoves() {
    if (this.moving) return;
    this.moving = true;
    while (this.moves.length) {
      const {kind, amount} = this.moves.shift();
      await this.post({[kind]: amount});
    }
    this.moving = false;
  }
}
