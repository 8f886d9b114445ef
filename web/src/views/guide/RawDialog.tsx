import type { EventInfo, OutputFormat } from '@ostrel/tv';
import { useCall } from '@ostrel/tv/react';
import { useState } from 'react';
import { Answered } from '../../parts/Answered';
import { CopyAs } from '../../parts/CopyAs';
import { copyText } from '../../parts/copy';
import { Dialog } from '../../parts/Dialog';
import { layOut } from '../../parts/document';
import { Icon } from '../../parts/Icon';
import { Shapes } from '../../parts/Shape';
import styles from './Details.module.css';
import { expressionOf } from './labels';

const method = 'ITVGuide::query';

const payloadOf = (event: EventInfo, outputFormat: OutputFormat = 'quoriljson') =>
  ({ expression: expressionOf(event), expressionFormat: 'quoril', outputFormat }) as const;

interface EventDialogProps {
  event: EventInfo;
  onClose: () => void;
}

/** The event's document as the service sends it. */
export function RawDialog({ event, onClose }: EventDialogProps) {
  const [format, choose] = useState<OutputFormat>('quoriljson');
  const payload = payloadOf(event, format);
  const answer = useCall(method, payload);
  return (
    <Dialog title={event.title || 'Untitled'} onClose={onClose}
      actions={<button disabled={!answer.data?.[0]} onClick={() => void copyText(answer.data?.[0] ?? '', 'the document')}><Icon name="copy" size={16} /> Copy</button>}>
      <div className={styles.formats} role="group" aria-label="Format">
        <button aria-pressed={format === 'quoriljson'} onClick={() => choose('quoriljson')}>JSON</button>
        <button aria-pressed={format === 'quorilxml'} onClick={() => choose('quorilxml')}>XML</button>
      </div>
      <Answered answer={answer} call={{ method, payload }} shape={<Shapes count={8} height={16} />}>
        {([document]) => <pre className={styles.document} tabIndex={0} aria-label="Document">{document === undefined ? 'It is gone from the guide.' : layOut(document)}</pre>}
      </Answered>
    </Dialog>
  );
}

/** How the event is asked for. */
export function QueryDialog({ event, onClose }: EventDialogProps) {
  const expression = expressionOf(event);
  return (
    <Dialog title="Query" onClose={onClose} actions={
      <button data-kind="primary" autoFocus onClick={() => void copyText(expression, 'the expression')}>
        <Icon name="copy" size={16} /> Copy expression
      </button>
    }>
      <p>Finds {event.title || 'this programme'} in the guide:</p>
      <pre className={styles.document}>{expression}</pre>
      <CopyAs call={{ method, payload: payloadOf(event) }} />
    </Dialog>
  );
}
