import { Empty } from '../../parts/Empty';
import { Failure } from '../../parts/Failure';
import { Icon } from '../../parts/Icon';
import { Shapes } from '../../parts/Shape';
import { useShortcuts } from '../../parts/shortcuts';
import { CallForm } from './CallForm';
import styles from './CallDesk.module.css';
import { againOf, showMessages } from './calls';
import { MethodList } from './MethodList';
import { useDescription } from './useDescription';

/** Any method of the service to be called: its form is made from what the service says of it. */
export function CallDesk({ method: name }: { method: string }) {
  const { servers, error, reload } = useDescription();
  const server = servers.find(({ methods }) => methods.some((method) => method.name === name));
  const method = server?.methods.find((method) => method.name === name);
  useShortcuts('Traffic', [{ key: 'Escape', label: 'Esc', does: 'Back to the messages', run: showMessages }]);
  return (
    <div className={styles.desk}>
      <header className={styles.head}>
        <button onClick={showMessages} title="Back to the messages (Esc)">
          <Icon name="left" size={16} /> Messages
        </button>
        <h2>Make a call</h2>
      </header>
      {error !== undefined && servers.length === 0 && (
        <div className={styles.failed}>
          <Failure error={error} call={{ method: 'rpc.discover' }} onRetry={reload} />
        </div>
      )}
      {error === undefined && servers.length === 0 && <div className={styles.failed}><Shapes count={8} /></div>}
      {servers.length > 0 && (
        <>
          <MethodList servers={servers} current={name} />
          {method === undefined || server === undefined ? (
            <Empty icon="help" title="No such method">
              <p>This host has no <code>{name}</code>. Choose another one.</p>
            </Empty>
          ) : (
            <CallForm key={name} method={method} schemas={server.schemas} again={againOf(name)} />
          )}
        </>
      )}
    </div>
  );
}
