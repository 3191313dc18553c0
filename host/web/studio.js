// The studio page: menu bar, object manager, console, and the wiring between the parts.
// The host owns the document; the page asks for it after every change and draws what it says.

import {api, notice, showDialogs, reportError} from './api.js';
import {Panel} from './panel.js';
import {Viewport} from './view.js';
import {RenderView} from './render.js';

class Studio {
  constructor() {
    this.doc = null;
    this.docSeq = 0;
    this.panel = new Panel(this);
    this.viewport = new Viewport(this);
    this.renderView = new RenderView(this);
    this.tree = document.getElementById('object-tree');
    document.getElementById('panel').addEventListener('submit', (e) => e.preventDefault());
    this.wireMenus();
    this.wireActions();
    this.wireTabs();
    this.wireKeys();
  }

  async start() {
    this.loadMenu();
    this.viewport.refreshCameras();
    this.viewport.redraw();
    try {
      this.applyDocument(await api('GET', '/api/document'), {fresh: true});
    } catch (e) {
      reportError(e);
    }
  }

  // ---- the document and the object manager ----

  /// Fetches the document after a change somewhere, then redraws what depends on it.
  async documentChanged({view = true, panel = false} = {}) {
    const seq = ++this.docSeq;
    if (view) this.viewport.redraw();
    try {
      const doc = await api('GET', '/api/document');
      if (seq === this.docSeq) this.applyDocument(doc, {panel});
    } catch (e) {
      reportError(e);
    }
  }

  viewChanged() {
    this.viewport.redraw();
  }

  /// Draws a document the server sent. `panel` reloads the attribute manager; a new scene or a
  /// changed selection shows the selected node's panel.
  applyDocument(doc, {panel = false, fresh = false} = {}) {
    ++this.docSeq;
    const before = this.doc;
    this.doc = doc;
    const replaced = fresh || !before || doc.revision < before.revision || doc.scene !== before.scene ||
      doc.name !== before.name;
    document.body.dataset.revision = String(doc.revision);
    document.getElementById('doc-title').textContent = doc.scene ? `${doc.name || 'Untitled'} — ${doc.scene}` : (doc.name || 'Untitled');
    document.title = `${doc.name || 'Untitled'} — OrlixCam Studio`;
    for (const id of ['undo', 'redo']) {
      const can = id === 'undo' ? doc.undo.canUndo : doc.undo.canRedo;
      for (const el of document.querySelectorAll(`[data-action="${id}"]`)) el.disabled = !can;
    }
    this.drawTree(doc);
    this.drawConsole(doc.console || []);
    if (replaced || (before && before.selected !== doc.selected) || (!this.panel.node && doc.selected)) {
      this.panel.show(doc.selected);
    } else if (panel) {
      // Undo may take away the node shown: then the selection's panel.
      const shown = this.panel.node;
      const gone = shown && !this.tree.querySelector(`[data-node="${CSS.escape(shown)}"]`);
      if (gone || !shown) this.panel.show(doc.selected);
      else this.panel.reload();
    }
    if (!before || doc.revision !== before.revision || replaced) this.viewport.refreshCameras();
    this.markCurrent();
  }

  drawTree(doc) {
    const items = [];
    for (const object of doc.objects || []) items.push(this.drawObject(object, 1));
    const heading = document.createElement('div');
    heading.className = 'tree-heading';
    heading.textContent = 'Render Settings';
    items.push(heading);
    if (doc.render) items.push(this.drawLeaf(doc.render.id, doc.render.name, 'render', true));
    for (const vp of doc.videoPosts || []) {
      const leaf = this.drawLeaf(vp.id, vp.name, 'videopost', vp.enabled);
      items.push(leaf);
    }
    this.tree.replaceChildren(...items);
  }

  drawObject(object, level) {
    const item = document.createElement('div');
    item.className = 'tree-item object';
    item.setAttribute('role', 'treeitem');
    item.setAttribute('aria-level', String(level));
    item.setAttribute('aria-selected', object.selected ? 'true' : 'false');
    item.dataset.node = object.id;
    item.dataset.name = object.name;
    item.dataset.type = object.type;
    const line = document.createElement('div');
    line.className = 'tree-line';
    line.style.paddingLeft = `${(level - 1) * 14 + 4}px`;
    line.append(this.icon(object.icon, object.type));
    const name = document.createElement('button');
    name.type = 'button';
    name.className = 'tree-name';
    name.textContent = object.name;
    name.addEventListener('click', () => this.select(object.id));
    line.append(name);
    const tags = document.createElement('span');
    tags.className = 'tags';
    for (const tag of object.tags || []) {
      const t = document.createElement('button');
      t.type = 'button';
      t.className = 'tag';
      t.dataset.node = tag.id;
      t.dataset.type = tag.type;
      t.title = tag.name;
      t.setAttribute('aria-label', `${tag.name} tag of ${object.name}`);
      t.setAttribute('aria-pressed', tag.selected ? 'true' : 'false');
      t.append(this.icon(tag.icon, tag.type));
      t.addEventListener('click', () => this.select(tag.id));
      tags.append(t);
    }
    line.append(tags);
    item.append(line);
    if (object.children && object.children.length) {
      const group = document.createElement('div');
      group.setAttribute('role', 'group');
      for (const child of object.children) group.append(this.drawObject(child, level + 1));
      item.append(group);
    }
    return item;
  }

  drawLeaf(id, label, type, enabled) {
    const item = document.createElement('div');
    item.className = 'tree-item leaf';
    item.setAttribute('role', 'treeitem');
    item.dataset.node = id;
    item.dataset.name = label;
    item.dataset.type = type;
    if (!enabled) item.classList.add('off');
    const line = document.createElement('div');
    line.className = 'tree-line';
    line.append(this.icon(null, type));
    const name = document.createElement('button');
    name.type = 'button';
    name.className = 'tree-name';
    name.textContent = enabled ? label : `${label} (off)`;
    name.addEventListener('click', () => this.panel.show(id).then(() => this.markCurrent()));
    line.append(name);
    item.append(line);
    return item;
  }

  icon(url, type) {
    if (url) {
      const img = document.createElement('img');
      img.className = 'icon';
      img.src = url;
      img.alt = '';
      return img;
    }
    const span = document.createElement('span');
    span.className = 'icon glyph';
    span.dataset.type = type || '';
    span.textContent = (type || '?').charAt(0).toUpperCase();
    span.setAttribute('aria-hidden', 'true');
    return span;
  }

  /// The name the object manager shows for a node (the panel's own may be only a type).
  nodeName(node) {
    const el = this.tree.querySelector(`[data-node="${CSS.escape(node)}"]`);
    if (!el) return null;
    return el.matches('.tag') ? el.title : el.dataset.name;
  }

  /// Marks the node whose panel is shown.
  markCurrent() {
    for (const el of this.tree.querySelectorAll('.current')) el.classList.remove('current');
    if (!this.panel.node) return;
    const el = this.tree.querySelector(`[data-node="${CSS.escape(this.panel.node)}"]`);
    if (el) el.classList.add('current');
  }

  async select(node) {
    try {
      this.applyDocument(await api('POST', '/api/select', {node}));
      if (this.panel.node !== node) await this.panel.show(node);
      this.markCurrent();
    } catch (e) {
      reportError(e);
    }
  }

  drawConsole(lines) {
    const el = document.getElementById('console');
    el.textContent = lines.join('\n');
    el.scrollTop = el.scrollHeight;
  }

  // ---- menus and commands ----

  async loadMenu() {
    const list = document.getElementById('plugin-commands');
    try {
      const menu = await api('GET', '/api/menu');
      list.replaceChildren(...menu.commands.map((c) => this.drawCommand(c)));
    } catch (e) {
      reportError(e);
    }
  }

  drawCommand(command) {
    const button = document.createElement('button');
    button.type = 'button';
    button.setAttribute('role', 'menuitem');
    button.dataset.commandId = String(command.id);
    button.dataset.commandName = command.name;
    button.title = command.help || command.name;
    button.disabled = !command.enabled;
    if (command.icon) {
      const img = document.createElement('img');
      img.className = 'icon';
      img.src = command.icon;
      img.alt = '';
      button.append(img);
    } else {
      button.append(this.icon(null, 'command'));
    }
    const name = document.createElement('span');
    name.textContent = command.name;
    button.append(name);
    if (!command.sub) {
      button.addEventListener('click', () => { this.closeMenus(); this.runCommand(command.id); });
      return button;
    }
    // A command with a submenu: its items run it with their sub-id.
    const wrap = document.createElement('div');
    wrap.className = 'submenu';
    button.setAttribute('aria-haspopup', 'true');
    button.setAttribute('aria-expanded', 'false');
    button.classList.add('has-sub');
    const items = document.createElement('div');
    items.className = 'menu-items sub';
    items.setAttribute('role', 'menu');
    items.setAttribute('aria-label', command.name);
    for (const sub of command.sub) {
      const item = document.createElement('button');
      item.type = 'button';
      item.setAttribute('role', 'menuitem');
      item.dataset.commandId = String(command.id);
      item.dataset.subId = String(sub.subId);
      item.append(sub.icon ? Object.assign(document.createElement('img'), {className: 'icon', src: sub.icon, alt: ''})
        : this.icon(null, 'scene'));
      item.append(Object.assign(document.createElement('span'), {textContent: sub.label}));
      item.addEventListener('click', () => { this.closeMenus(); this.runCommand(command.id, sub.subId); });
      items.append(item);
    }
    button.addEventListener('click', (e) => {
      e.stopPropagation();
      const open = !wrap.classList.contains('open');
      wrap.classList.toggle('open', open);
      button.setAttribute('aria-expanded', open ? 'true' : 'false');
    });
    wrap.append(button, items);
    return wrap;
  }

  async runCommand(id, subId) {
    const body = {id};
    if (subId !== undefined) body.subId = subId;
    try {
      const answer = await api('POST', '/api/command', body);
      showDialogs(answer.dialogs);
      this.openAll(answer.opened);
      this.applyDocument(answer.document, {panel: true});
      this.viewport.redraw();
    } catch (e) {
      reportError(e);
    }
  }

  /// Opens what a command or button asked the host to open: web pages and plug-in files in a new tab.
  openAll(opened) {
    for (const item of opened || []) {
      const url = typeof item === 'string' ? item : item.url;
      const file = typeof item === 'string' ? item : item.file;
      if (url && /^(\/|https?:)/.test(url)) {
        // With 'noopener' the browser answers null even when the tab opens: cut the link by hand.
        const w = window.open(url, '_blank');
        if (w) w.opener = null;
        else notice(`The browser blocked the new tab for ${url}: allow pop-ups for this page`);
      } else if (file) {
        notice(`The host opened ${file}`);
      }
    }
  }

  async undoRedo(which) {
    try {
      this.applyDocument(await api('POST', `/api/${which}`), {panel: true});
      this.viewport.redraw();
    } catch (e) {
      if (e.status === 409) notice(`Nothing to ${which}`);
      else reportError(e);
    }
  }

  async save() {
    const doc = this.doc;
    let folder = 'the scene folder';
    try {
      folder = (await api('GET', '/api/scenes')).folder;
    } catch (e) {
      return reportError(e);
    }
    const suggestion = (doc && doc.scene) || (this.lastSaved || 'scene.json');
    const path = window.prompt(`Save the scene as (a .json file under ${folder}):`, suggestion);
    if (!path) return;
    try {
      const answer = await api('POST', '/api/save', {path});
      this.lastSaved = answer.saved;
      notice(`Saved ${answer.saved}`);
      this.documentChanged({view: false});
    } catch (e) {
      reportError(e);
    }
  }

  async openDialog() {
    const dialog = document.getElementById('open-dialog');
    const list = document.getElementById('open-list');
    try {
      const answer = await api('GET', '/api/scenes');
      document.getElementById('open-folder').textContent = answer.folder;
      list.replaceChildren(...answer.scenes.map((path) => {
        const li = document.createElement('li');
        const b = document.createElement('button');
        b.type = 'button';
        b.dataset.scene = path;
        b.textContent = path;
        b.addEventListener('click', async () => {
          dialog.close();
          try {
            this.applyDocument(await api('POST', '/api/open', {path}), {fresh: true});
            this.viewport.redraw();
          } catch (e) {
            reportError(e);
          }
        });
        li.append(b);
        return li;
      }));
      if (!answer.scenes.length) list.replaceChildren(Object.assign(document.createElement('li'), {textContent: 'No scenes here.'}));
      dialog.showModal();
    } catch (e) {
      reportError(e);
    }
  }

  // ---- wiring ----

  wireMenus() {
    const menus = [...document.querySelectorAll('#menubar .menu')];
    for (const menu of menus) {
      const title = menu.querySelector('.menu-title');
      title.addEventListener('click', (e) => {
        e.stopPropagation();
        const open = !menu.classList.contains('open');
        this.closeMenus();
        menu.classList.toggle('open', open);
        title.setAttribute('aria-expanded', open ? 'true' : 'false');
      });
      title.addEventListener('mouseenter', () => {
        if (menus.some((m) => m.classList.contains('open')) && !menu.classList.contains('open')) title.click();
      });
    }
    document.addEventListener('click', (e) => {
      if (!e.target.closest('.menu-items') || e.target.closest('[role="menuitem"]:not(.has-sub)')) this.closeMenus();
    });
    document.addEventListener('keydown', (e) => { if (e.key === 'Escape') this.closeMenus(); });
  }

  closeMenus() {
    for (const menu of document.querySelectorAll('#menubar .open')) menu.classList.remove('open');
    for (const t of document.querySelectorAll('#menubar [aria-expanded="true"]')) t.setAttribute('aria-expanded', 'false');
  }

  wireActions() {
    const actions = {
      undo: () => this.undoRedo('undo'),
      redo: () => this.undoRedo('redo'),
      render: () => this.renderView.start(false),
      preview: () => this.renderView.start(true),
    };
    for (const el of document.querySelectorAll('[data-action]')) {
      el.addEventListener('click', () => actions[el.dataset.action]());
    }
    document.getElementById('cmd-save').addEventListener('click', () => this.save());
    document.getElementById('cmd-open').addEventListener('click', () => this.openDialog());
  }

  wireTabs() {
    document.getElementById('tab-view').addEventListener('click', () => this.showTab('view'));
    document.getElementById('tab-render').addEventListener('click', () => this.showTab('render'));
  }

  showTab(which) {
    for (const name of ['view', 'render']) {
      const on = name === which;
      document.getElementById(`tab-${name}`).setAttribute('aria-selected', on ? 'true' : 'false');
      document.getElementById(`pane-${name}`).hidden = !on;
    }
    if (which === 'view') this.viewport.redraw();
  }

  wireKeys() {
    document.addEventListener('keydown', (e) => {
      if (!(e.ctrlKey || e.metaKey) || e.altKey) return;
      // Text fields keep their own undo.
      const t = e.target;
      if (t && (t.tagName === 'TEXTAREA' || (t.tagName === 'INPUT' && t.type === 'text'))) return;
      const key = e.key.toLowerCase();
      if (key === 'z' && !e.shiftKey) {
        e.preventDefault();
        this.undoRedo('undo');
      } else if ((key === 'z' && e.shiftKey) || key === 'y') {
        e.preventDefault();
        this.undoRedo('redo');
      } else if (key === 's') {
        e.preventDefault();
        this.save();
      }
    });
  }
}

window.studio = new Studio();
window.studio.start();
