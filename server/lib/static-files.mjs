// Maps a request path onto a file of the console folder. Anything that could climb out of the
// folder is refused before the file system is asked, and the real path is checked again after,
// so a symlink inside the folder cannot point outside it either.
import { realpath, stat } from 'node:fs/promises';
import path from 'node:path';

const contentTypes = new Map([
  ['.html', 'text/html; charset=utf-8'],
  ['.js', 'text/javascript; charset=utf-8'],
  ['.mjs', 'text/javascript; charset=utf-8'],
  ['.css', 'text/css; charset=utf-8'],
  ['.json', 'application/json; charset=utf-8'],
  ['.svg', 'image/svg+xml'],
  ['.png', 'image/png'],
  ['.ico', 'image/x-icon'],
  ['.woff2', 'font/woff2'],
]);

export function contentTypeFor(file) {
  return contentTypes.get(path.extname(file).toLowerCase()) ?? 'application/octet-stream';
}

function inside(root, candidate) {
  const relative = path.relative(root, candidate);
  return relative !== '' && !relative.startsWith('..') && !path.isAbsolute(relative);
}

// The decoded segments of `pathname`, or a status when it must not reach the file system:
// 400 for a path that tries to escape (dot segments, encoded separators, NUL), 404 for one that
// merely names nothing we serve (empty segments, dotfiles).
export function pathSegments(pathname) {
  if (!pathname.startsWith('/') || pathname.includes('\\') || pathname.includes('\0')) return 400;
  if (pathname === '/') return ['index.html'];
  const segments = [];
  for (const raw of pathname.slice(1).split('/')) {
    let segment;
    try {
      segment = decodeURIComponent(raw);
    } catch {
      return 400;
    }
    if (segment === '.' || segment === '..' || /[/\\\0]/.test(segment)) return 400;
    if (segment === '' || segment.startsWith('.')) return 404;
    segments.push(segment);
  }
  return segments;
}

// Resolves `pathname` under `root` (already a real path). Returns {file, type} or {status}.
export async function resolveStaticFile(root, pathname) {
  const segments = pathSegments(pathname);
  if (typeof segments === 'number') return { status: segments };
  const candidate = path.join(root, ...segments);
  if (!inside(root, candidate)) return { status: 400 };
  try {
    const file = await realpath(candidate);
    if (!inside(root, file) || !(await stat(file)).isFile()) return { status: 404 };
    return { file, type: contentTypeFor(file) };
  } catch {
    return { status: 404 };
  }
}
