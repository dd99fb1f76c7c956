// Building the page from elements and text nodes only: no markup is ever parsed, so text from
// the host (quotes, "</script>", U+2028) always lands as text. Every control gets a fixed id;
// end-to-end tests find and click them by it.

export function elementFactory(doc) {
  return (tag, className, content) => {
    const node = doc.createElement(tag);
    if (className) node.className = className;
    if (typeof content === 'string') node.textContent = content;
    else if (Array.isArray(content)) node.append(...content);
    return node;
  };
}

export function withId(node, id) {
  if (id) node.setAttribute('id', id);
  return node;
}

// rows: [[name, value]] or [[name, value, id]]; the id goes on the value cell.
export function fieldTable(el, rows, id) {
  return withId(el('table', 'fields', [
    el('tbody', null, rows.map(([key, value, cellId]) =>
      el('tr', null, [el('th', null, key), withId(el('td', null, value), cellId)]))),
  ]), id);
}

export function controlFactory(el) {
  const button = (id, label, onClick, className = 'button') => {
    const node = withId(el('button', className, label), id);
    node.setAttribute('type', 'button');
    node.addEventListener('click', () => onClick());
    return node;
  };

  const input = (id, type, value = '') => {
    const node = withId(el('input', `input ${type}`), id);
    node.setAttribute('type', type);
    node.setAttribute('autocomplete', 'off');
    node.setAttribute('spellcheck', 'false');
    node.value = value;
    return node;
  };

  const labelled = (id, label, node) => {
    const caption = el('label', 'caption', label);
    caption.setAttribute('for', id);
    return { row: el('div', 'field', [caption, node]), input: node };
  };

  // A labelled text field; returns the row and the input.
  const textField = (id, label, value = '', placeholder = '') => {
    const node = input(id, 'text', value);
    if (placeholder) node.setAttribute('placeholder', placeholder);
    return labelled(id, label, node);
  };

  const numberField = (id, label, value) => {
    const node = input(id, 'number', String(value));
    node.setAttribute('min', '0');
    node.setAttribute('step', '1');
    node.setAttribute('inputmode', 'numeric');
    return labelled(id, label, node);
  };

  const checkbox = (id, label, checked = false) => {
    const node = input(id, 'checkbox');
    node.checked = checked;
    return { row: el('label', 'check', [node, el('span', null, label)]), input: node };
  };

  // A read-only value the page fills in later.
  const output = (id, text = '—') => withId(el('span', 'output', text), id);

  return { button, textField, numberField, checkbox, output };
}
