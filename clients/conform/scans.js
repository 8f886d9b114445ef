// What is told of a scan before the call is answered that starts or stops it.

const started = ['ITVConfig::onScanStart', 'ITVConfig::onScanProgress 0'];
const toldBefore = {
  'ITVConfig::scanBlindStart': started,
  'ITVConfig::scanStart': started,
  'ITVConfig::scanStop': ['ITVConfig::onScanComplete'],
};

/** Whether a reply to the method is one that something has to be told before. */
export function isToldBefore(method, reply) {
  return method.name in toldBefore && reply?.result === true;
}

/**
 * Returns what is wrong with the notifications that came before a reply.
 * @returns {import('./description.js').Fault[]}
 */
export function faultsOfOrder(method, reply, notifications) {
  if (!isToldBefore(method, reply)) return [];
  const expected = toldBefore[method.name];
  const heard = notifications.map(({ method: name, params }) => [name, params?.percent].join(' ').trim());
  if (`,${heard},`.includes(`,${expected},`)) return [];
  return [
    {
      check: 'notifications',
      expected: `before the reply ${expected.join(', then ')}; heard was ${heard.join(', ') || 'nothing'}`,
    },
  ];
}
