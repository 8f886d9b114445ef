import { address, token } from '../app/service';
import { callAs, type CallLike, type CallTexts, languages } from './callAs';
import { copyText } from './copy';
import styles from './CopyAs.module.css';
import { Icon } from './Icon';

interface CopyAsProps {
  call: CallLike;
  /** Of which languages; all of them unless named. */
  only?: readonly (keyof CallTexts)[];
}

/** Takes a call along: one button a language. */
export function CopyAs({ call, only }: CopyAsProps) {
  const texts = () => callAs(call, address.slice(0, -1), token !== undefined);
  const offered = languages.filter(([language]) => only === undefined || only.includes(language));
  return (
    <div className={styles.row} role="group" aria-label="Copy the call as">
      <Icon name="copy" size={16} />
      <span aria-hidden="true">Copy as</span>
      {offered.map(([language, name]) => (
        <button key={language} data-kind="quiet" aria-label={`Copy as ${name}`}
          onClick={() => void copyText(texts()[language], `as ${name}`)}>
          {name}
        </button>
      ))}
    </div>
  );
}
