import { type ReactNode, useId, useLayoutEffect, useRef } from 'react';
import { createPortal } from 'react-dom';
import { followArrow } from '../app/spatial';
import styles from './Dialog.module.css';
import { Icon } from './Icon';

interface DialogProps {
  title: string;
  onClose: () => void;
  /** Below what is said; the safest first. */
  actions?: ReactNode;
  children: ReactNode;
}

/**
 * A dialog that takes the page until it is closed; Esc closes it, and the focus goes back to where it was. Its first
 * field has the focus, or else the first of its actions.
 */
export function Dialog({ title, onClose, actions, children }: DialogProps) {
  const ref = useRef<HTMLDialogElement>(null);
  const heading = useId();
  // While it is still in the document: closing it gives the focus back.
  useLayoutEffect(() => {
    const dialog = ref.current;
    dialog?.showModal();
    dialog?.querySelector<HTMLElement>('input, select, textarea, footer button')?.focus();
    return () => dialog?.close();
  }, []);
  // Outside of what it is opened from: a form would take its buttons for its own, a heading would make its text large.
  return createPortal(
    <dialog ref={ref} className={styles.dialog} aria-labelledby={heading} onClose={() => ref.current?.open === false && onClose()}
      onKeyDown={(event) => {
        event.stopPropagation(); // the view around it has keys of its own
        followArrow(event.nativeEvent);
      }}
      onClick={(event) => event.target === ref.current && onClose()}>
      <div className={styles.content}>
        <header className={styles.head}>
          <h2 id={heading}>{title}</h2>
          <button data-kind="quiet" aria-label="Close" onClick={onClose}>
            <Icon name="close" />
          </button>
        </header>
        <div className={styles.body}>{children}</div>
        {actions !== undefined && <footer className={styles.actions}>{actions}</footer>}
      </div>
    </dialog>,
    document.body,
  );
}

interface ConfirmProps {
  title: string;
  /** What is done, as a button says it: "Delete". */
  action: string;
  onConfirm: () => void;
  onClose: () => void;
  children: ReactNode;
}

/** Asks before something is done that cannot be taken back; the safe answer has the focus. */
export function Confirm({ title, action, onConfirm, onClose, children }: ConfirmProps) {
  const actions = (
    <>
      <button onClick={onClose}>
        Cancel
      </button>
      <button data-kind="danger" onClick={() => (onConfirm(), onClose())}>
        {action}
      </button>
    </>
  );
  return (
    <Dialog title={title} onClose={onClose} actions={actions}>
      {children}
    </Dialog>
  );
}
