import { Icon } from '../../parts/Icon';
import type { Expression } from '../../quoril/expression';
import { fields } from '../../quoril/tokens';
import styles from './ByExpression.module.css';

interface ReadingProps {
  id: string;
  text: string;
  expression: Expression;
  /** Puts another text in the place of this one. */
  onMend: (text: string) => void;
}

function say({ mistake, unknownFields, tree }: Expression, text: string): [kind: string, words: string] {
  if (mistake !== null) {
    const isEnd = mistake.at >= text.trimEnd().length;
    return [isEnd ? 'unfinished' : 'wrong', isEnd ? `Next: ${mistake.explanation}` : `At letter ${mistake.at + 1}: ${mistake.explanation}`];
  }
  const [stranger] = unknownFields;
  if (stranger !== undefined) return ['unknown', `It finds nothing: there is no field ${stranger}, only ${fields.join(', ').replace(/, (\w+)$/, ' and $1')}`];
  return ['good', tree === null ? 'Empty: every event of the guide' : 'Complete'];
}

/** Says where an expression goes wrong and what is expected there. */
export function Reading({ id, text, expression, onMend }: ReadingProps) {
  const [kind, words] = say(expression, text);
  const isOtherBlank = expression.mistake !== null && /\s/.test(text[expression.mistake.at] ?? '');
  return (
    <div className={styles.reading} data-kind={kind}>
      {kind === 'good' ? <Check /> : <Icon name={kind === 'unfinished' ? 'more' : 'warning'} size={18} />}
      <p id={id} role="status">
        {words}
      </p>
      {isOtherBlank && <button onClick={() => onMend(text.replace(/\s+/g, ' '))}>Make them blanks</button>}
    </div>
  );
}

const Check = () => (
  <svg width="18" height="18" viewBox="0 0 24 24" fill="none" stroke="currentColor" strokeWidth="2.25" strokeLinecap="round" strokeLinejoin="round" aria-hidden="true">
    <path d="M5 12.5l4.5 4.5L19 7.5" />
  </svg>
);
