// Talking to the studio's server: JSON calls, cache-busted picture addresses, the notice line.

// The page arrives as /?token=T; the server also sets a cookie, which pictures and the
// event stream carry. Calls send the token in a header too, so they work whichever arrives.
const token = new URLSearchParams(location.search).get('token');

export class ApiError extends Error {
  constructor(status, message) {
    super(message);
    this.status = status;
  }
}

/// One call of the API: method, path with query, optional JSON body. Resolves to the answer's JSON.
export async function api(method, path, body) {
  const headers = {};
  if (token) headers['X-Orlix-Token'] = token;
  const init = {method, headers, credentials: 'same-origin', cache: 'no-store'};
  if (body !== undefined) {
    headers['Content-Type'] = 'application/json';
    init.body = JSON.stringify(body);
  }
  let response;
  try {
    response = await fetch(path, init);
  } catch (e) {
    throw new ApiError(0, 'the studio does not answer (was it stopped?)');
  }
  const text = await response.text();
  let json = null;
  try {
    json = text ? JSON.parse(text) : null;
  } catch (e) {
    if (response.ok) throw new ApiError(response.status, `${path}: the answer is not JSON`);
  }
  if (!response.ok) {
    const reason = json && json.error ? json.error : `${response.status} ${response.statusText}`;
    throw new ApiError(response.status, reason);
  }
  return json;
}

let busterCount = 0;
/// A fresh address for a picture that changes with the document.
export function bust(url) {
  busterCount += 1;
  return url + (url.includes('?') ? '&' : '?') + '_=' + Date.now().toString(36) + busterCount;
}

let noticeTimer = null;
/// A short line for the user under the views; errors stay until the next notice.
export function notice(text, kind = 'info') {
  const el = document.getElementById('notice');
  if (!el) return;
  el.textContent = text;
  el.dataset.kind = kind;
  clearTimeout(noticeTimer);
  if (kind !== 'error') noticeTimer = setTimeout(() => { el.textContent = ''; el.dataset.kind = ''; }, 8000);
}

/// Shows what dialogs the host answered for a plug-in, as the host's message boxes would have.
export function showDialogs(dialogs) {
  if (!dialogs || !dialogs.length) return;
  const lines = dialogs.map((d) => (d.answer && d.answer !== 'ok' ? `${d.text} → ${d.answer}` : d.text));
  notice(lines.join(' · '), 'dialog');
}

/// Reports a failed call in the notice line; returns null so callers can chain.
export function reportError(e) {
  notice(e instanceof ApiError ? e.message : String(e), 'error');
  return null;
}
