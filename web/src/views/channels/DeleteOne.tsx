import type { ServiceInfo } from '@ostrel/tv';
import { Confirm } from '../../parts/Dialog';

interface DeleteOneProps {
  service: ServiceInfo;
  onConfirm: () => void;
  onClose: () => void;
}

/** Asks before a service is deleted. */
export function DeleteOne({ service, onConfirm, onClose }: DeleteOneProps) {
  return (
    <Confirm title={`Delete ${service.channelNumber} ${service.name}?`} action="Delete" onConfirm={onConfirm} onClose={onClose}>
      <p>There is one list, and everybody shares it: the service goes for all clients at once, and none of them is told.</p>
      <p>A scan that visits its frequency brings it back.</p>
    </Confirm>
  );
}
