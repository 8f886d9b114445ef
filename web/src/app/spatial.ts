/** Where something stands on the page, in pixels. */
export interface Box {
  left: number;
  top: number;
  right: number;
  bottom: number;
}

export type Direction = 'ArrowLeft' | 'ArrowRight' | 'ArrowUp' | 'ArrowDown';

/** Turns a box so that the direction leads to the right. */
function turned({ left, top, right, bottom }: Box, direction: Direction): Box {
  switch (direction) {
    case 'ArrowRight':
      return { left, top, right, bottom };
    case 'ArrowLeft':
      return { left: -right, top, right: -left, bottom };
    case 'ArrowDown':
      return { left: top, top: left, right: bottom, bottom: right };
    case 'ArrowUp':
      return { left: -bottom, top: left, right: -top, bottom: right };
  }
}

/**
 * Finds the box that is next in a direction, as somebody with a remote control expects it: the nearest, where what does
 * not stand in the same line counts as much farther away. Returns its place among the boxes, or -1.
 */
export function neighbour(boxes: readonly Box[], from: Box, direction: Direction): number {
  const start = turned(from, direction);
  let best = -1;
  let least = Infinity;
  boxes.forEach((box, place) => {
    const other = turned(box, direction);
    const ahead = other.left - start.right;
    if (ahead < -1 || other.left <= start.left) return; // it is beside or behind
    const aside = Math.max(other.top - start.bottom, start.top - other.bottom, 0);
    const off = Math.abs((other.top + other.bottom) / 2 - (start.top + start.bottom) / 2);
    const distance = Math.max(ahead, 0) + (aside > 0 ? 100 + 8 * aside : 0) + off / 1000;
    if (distance < least) [least, best] = [distance, place];
  });
  return best;
}

const focusable = 'button, a[href], input, select, textarea, summary, [tabindex]';

/** Whether the element needs an arrow key itself: a caret in a text, a choice, a slider. */
function needs(element: Element, direction: Direction): boolean {
  if (element instanceof HTMLSelectElement) return direction === 'ArrowUp' || direction === 'ArrowDown';
  if (element instanceof HTMLElement && element.isContentEditable) return true;
  if (element instanceof HTMLTextAreaElement) {
    const isBack = direction === 'ArrowLeft' || direction === 'ArrowUp';
    return isBack ? element.selectionEnd !== 0 : element.selectionStart !== element.value.length;
  }
  if (!(element instanceof HTMLInputElement)) return false;
  if (['checkbox', 'button', 'submit'].includes(element.type)) return false;
  if (['radio', 'date', 'time', 'datetime-local', 'number'].includes(element.type)) return true;
  if (direction === 'ArrowUp' || direction === 'ArrowDown') return false;
  const { selectionStart, selectionEnd, value } = element; // null where there is no caret, in a slider
  return direction === 'ArrowLeft' ? selectionEnd !== 0 : selectionStart !== value.length;
}

/**
 * Moves the focus about the page, or about the dialog that takes it, as a remote control does. Where nothing has the
 * focus yet the view gets it. What handles an arrow key itself (a grid, a list) calls preventDefault(), and does not at
 * its edges.
 */
export function followArrow(event: KeyboardEvent): void {
  const { key, target } = event;
  const isArrow = key === 'ArrowLeft' || key === 'ArrowRight' || key === 'ArrowUp' || key === 'ArrowDown';
  if (!isArrow || event.defaultPrevented || event.altKey || event.ctrlKey || event.metaKey || event.shiftKey) return;
  if (!(target instanceof HTMLElement) || needs(target, key)) return;
  const view = document.querySelector('main');
  const isNowhere = target === document.body || target === view;
  const within = document.querySelector('dialog:modal') ?? (isNowhere ? view : null) ?? document;
  const others = [...within.querySelectorAll<HTMLElement>(focusable)].filter(
    (element) => element !== target && element.tabIndex >= 0 && !element.matches(':disabled') && element.checkVisibility(),
  );
  const place = isNowhere ? 0 : neighbour(others.map((element) => element.getBoundingClientRect()), target.getBoundingClientRect(), key);
  const found = others[place];
  if (found === undefined) return;
  event.preventDefault();
  found.focus({ focusVisible: true } as FocusOptions);
}
