// The picture viewer: starts renders, follows their progress by server-sent events, shows the result.

import {api, notice, reportError} from './api.js';

export class RenderView {
  constructor(studio) {
    this.studio = studio;
    this.progress = document.getElementById('render-progress');
    this.status = document.getElementById('render-status');
    this.cancelButton = document.getElementById('render-cancel');
    this.picture = document.getElementById('render-picture');
    this.download = document.getElementById('render-download');
    this.job = null;
    this.finishedJob = null;
    this.cancelButton.addEventListener('click', () => this.cancel());
    this.listen();
  }

  listen() {
    this.events = new EventSource('/api/render/events');
    this.events.addEventListener('state', (e) => this.onState(JSON.parse(e.data)));
    this.events.addEventListener('progress', (e) => this.onProgress(JSON.parse(e.data)));
    this.events.addEventListener('done', (e) => this.onDone(JSON.parse(e.data)));
    // EventSource reconnects by itself; on reconnect the server sends the state again.
    this.events.addEventListener('error', () => {
      if (this.events.readyState === EventSource.CLOSED) setTimeout(() => this.listen(), 3000);
    });
  }

  setProgress(done) {
    const percent = Math.max(0, Math.min(100, Math.round(done * 100)));
    this.progress.value = percent;
    this.progress.dataset.percent = String(percent);
    return percent;
  }

  onState(state) {
    if (!state || state.job === undefined || state.job === null) return;
    this.job = state.job;
    if (state.running) {
      if (this.finishedJob !== state.job) this.running(state.job, state.done || 0);
    } else if (state.ok === true) {
      this.finishedJob = state.job;
      this.setProgress(1);
      this.showPicture(state.job);
      this.status.textContent = `Render ${state.job} done`;
      this.progress.dataset.state = 'done';
      this.cancelButton.disabled = true;
    } else if (state.ok === false) {
      this.finishedJob = state.job;
      this.status.textContent = failure(state.error);
      this.progress.dataset.state = 'failed';
      this.cancelButton.disabled = true;
    }
  }

  /// Shows job `job` running at share `done`; events and answers can cross, so the bar never goes back.
  running(job, done) {
    if (job !== this.progressJob) {
      this.progressJob = job;
      this.maxDone = 0;
    }
    this.maxDone = Math.max(this.maxDone, done);
    const percent = this.setProgress(this.maxDone);
    this.status.textContent = `Rendering… ${percent} %`;
    this.cancelButton.disabled = false;
    this.progress.dataset.state = 'running';
  }

  onProgress(p) {
    if (p.job === this.finishedJob) return;
    this.job = p.job;
    this.running(p.job, p.done);
  }

  onDone(d) {
    this.job = d.job;
    this.finishedJob = d.job;
    this.cancelButton.disabled = true;
    this.progress.dataset.state = d.ok ? 'done' : 'failed';
    if (d.ok) {
      this.setProgress(1);
      const secs = typeof d.seconds === 'number' ? `, ${d.seconds.toFixed(1)} s` : '';
      this.status.textContent = `Done: ${d.width} × ${d.height}${secs}`;
      this.showPicture(d.job);
    } else {
      this.status.textContent = failure(d.error);
      if (d.error !== 'cancelled') notice(`Render failed: ${d.error}`, 'error');
    }
    this.studio.documentChanged({view: false, panel: false});   // console lines of the render
  }

  showPicture(job) {
    this.picture.src = `/api/render/picture.png?r=${job}`;
    this.picture.hidden = false;
    this.picture.dataset.job = String(job);
    this.download.href = `/api/render/picture.png?download=1&r=${job}`;
    this.download.hidden = false;
  }

  /// Starts a render: `editor` true for the preview into the view, false for the final picture.
  async start(editor) {
    const body = {editor};
    for (const [key, id] of [['width', 'render-width'], ['height', 'render-height'], ['samples', 'render-samples']]) {
      const n = document.getElementById(id).valueAsNumber;
      if (Number.isFinite(n) && n > 0) body[key] = Math.round(n);
    }
    this.studio.showTab('render');
    this.progress.dataset.state = 'starting';
    this.status.textContent = 'Starting…';
    try {
      const answer = await api('POST', '/api/render', body);
      // Its events may have come first: a render already reported done stays done.
      if (this.finishedJob !== answer.job) {
        this.job = answer.job;
        this.running(answer.job, 0);
        this.status.textContent = `Render ${answer.job} started`;
      }
    } catch (e) {
      this.progress.dataset.state = 'refused';
      this.status.textContent = e.message;
      reportError(e);
    }
  }

  async cancel() {
    try {
      this.onState(await api('POST', '/api/render/cancel'));
    } catch (e) {
      reportError(e);
    }
  }
}

function failure(error) {
  return error === 'cancelled' ? 'Cancelled' : `Failed: ${error || 'unknown reason'}`;
}
