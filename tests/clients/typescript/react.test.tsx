// @vitest-environment happy-dom
// The hooks, in components that are really rendered, on a real host and on one whose clock the test sets.

import { Tv } from '@ostrel/tv';
import { connectSimulator } from '@ostrel/tv/simulator';
import { TvProvider, useClock, useConnection, useGuideWindow, useNowNext, useScan, useServices, useTv } from '@ostrel/tv/react';
import { Component, type ReactNode, StrictMode } from 'react';
import { createRoot } from 'react-dom/client';
import { describe, expect, onTestFinished, test, vi } from 'vitest';
import { connected, Host, Line } from './host.js';
import { SteeredService } from './steered.js';

const noon = 1318762800;

/** A connection for one test, that may still be on its way. */
function talk(url: string): Tv {
  const tv = new Tv(url, { firstPause: 10 });
  onTestFinished(() => tv.close());
  return tv;
}

/** Renders under StrictMode, and returns what is shown, and what takes it out again. */
function render(tv: Tv, children: ReactNode) {
  const page = document.createElement('div');
  const root = createRoot(page);
  const show = (children: ReactNode) => root.render(<StrictMode><TvProvider tv={tv}>{children}</TvProvider></StrictMode>);
  show(children);
  let isThere = true;
  const unmount = () => {
    if (isThere) root.unmount();
    isThere = false;
  };
  onTestFinished(unmount);
  return { page, show, unmount };
}

/** Waits until this is shown; how long that takes is nobody's promise. */
const shows = (page: HTMLElement, text: string | RegExp) =>
  vi.waitFor(() => expect(page.textContent).toMatch(text), { timeout: 50_000, interval: 5 });

function Services() {
  const { data, state } = useServices();
  return <p>{`${state} ${data?.length} services, ${data?.[0]?.name};`}</p>;
}

function NowNext({ id }: { id: number }) {
  const { data, state } = useNowNext(id);
  return <p>{`${state} ${data?.now?.title ?? '-'} then ${data?.next?.title ?? '-'};`}</p>;
}

function Window({ from, to, services }: { from: number; to: number; services?: number[] }) {
  const { data, error, state, reload } = useGuideWindow({ from, to, services });
  const member = error && 'member' in error ? error.member : '';
  return <p onClick={reload}>{`${state} ${data?.length} events ${error?.name} ${member};`}</p>;
}

describe('what is asked', () => {
  test('is asked once for all components, under StrictMode too, on one connection', async () => {
    const line = await Line.to(await Host.start());
    const { page, show } = render(await connected(line.url), <><Services /><Services /></>);
    await shows(page, /^(ready 96 services, BBC ONE;){2}$/);
    show(<><Services /><Services /><Services /></>);
    await shows(page, /^(ready 96 services, BBC ONE;){3}$/);
    expect(line.count('ITVService::serviceListGet')).toBe(1);
    expect(line.count('ITVService::createContext')).toBe(1);
    expect(line.connections).toBe(1);
  });

  test('is ended when nobody wants to know any more, and asked anew for those who come', async () => {
    const line = await Line.to(await Host.start());
    const tv = talk(line.url);
    const list = vi.spyOn(tv.service, 'list');
    line.loses = 'ITVService::serviceListSet';
    const { page, show } = render(tv, <Services />);
    await vi.waitFor(() => expect(line.count('ITVService::serviceListGet')).toBe(1), { timeout: 50_000 });
    const signals = () => list.mock.calls.map(([, options]) => options?.signal?.aborted);
    expect(signals()).toEqual([true, false].slice(-signals().length)); // the first may have waited for the connection
    show(null);
    await vi.waitFor(() => expect(signals().every(Boolean)).toBe(true), { timeout: 50_000 });
    line.loses = '';
    show(<Services />);
    await shows(page, /^ready 96 services/);
    expect(line.count('ITVService::serviceListGet')).toBe(2);
  });

  test('is asked for the window that is shown, with the old one in sight until it is there', async () => {
    const tv = talk((await Host.start()).url);
    const hours = (from: number, count: number) => <Window from={from} to={from + count * 3600} services={[1043]} />;
    const { page, show } = render(tv, hours(noon, 1));
    await shows(page, /^ready 1 events/);
    const seen: (string | null)[] = [];
    new MutationObserver(() => seen.push(page.textContent)).observe(page, { characterData: true, subtree: true });
    show(hours(noon + 3600, 6));
    await shows(page, /^ready (?!1 )\d+ events/);
    for (const text of seen) expect(text).not.toContain('undefined events');
  });

  test('that fails says why by a typed error, and can be asked again', async () => {
    const line = await Line.to(await Host.start());
    const { page } = render(talk(line.url), <Window from={0.5} to={1} />);
    await shows(page, 'failed undefined events DecodeError query.timeRange.base;');
    (page.firstChild as HTMLElement).click();
    await vi.waitFor(() => expect(line.count('ITVGuide::queryEventInfo')).toBe(2), { timeout: 50_000 });
    await shows(page, /^failed/);
  });
});

describe('a connection that breaks', () => {
  test('leaves what was shown, and all is asked for again on the next', async () => {
    const first = await Host.start();
    const tv = talk(first.url);
    const Status = () => <p>{`${useConnection().state}: ${useConnection().retryAt !== undefined};`}</p>;
    const { page } = render(tv, <><Status /><Services /><NowNext id={1043} /></>);
    await shows(page, /^open: false;ready 96 .*;ready Gate and Stile then Weekend News;$/);
    await first.kill();
    await shows(page, /^(waiting: true|connecting: false);disconnected 96 .*;disconnected Gate and Stile then/);
    await Host.start(first.address);
    await shows(page, /^open: false;ready 96 .*;ready Gate and Stile then Weekend News;$/);
  });

  test('is waited for where there was none yet', async () => {
    const host = await Host.start();
    await host.stop();
    const { page } = render(talk(host.url), <Services />);
    await shows(page, /^disconnected undefined services/);
    await Host.start(host.address);
    await shows(page, /^ready 96 services/);
  });
});

test('a scan is everybody’s: both components show it, and what does not come about', async () => {
  function Scan() {
    const { data, state, refusal, start, stop } = useScan();
    return (
      <p>
        {`${state} ${data === undefined ? 'none' : data.scanning ? 'runs' : 'over'} ${refusal?.name};`}
        <button onClick={() => start()} />
        <button onClick={stop} />
      </p>
    );
  }
  const tv = talk((await Host.start()).url);
  const { page } = render(tv, <><Scan /><Scan /></>);
  await shows(page, /^(ready none undefined;){2}$/);
  const press = (button: number) => page.getElementsByTagName('button')[button]!.click();
  press(0);
  await shows(page, /^(ready runs undefined;){2}$/);
  press(2);
  await shows(page, /^ready runs undefined;ready runs NotSupported;$/);
  press(3);
  await shows(page, /^(ready over undefined;){2}$/);
});

describe('time', () => {
  const start = 1_000_000;

  /** A service with programmes of an hour each on every service with an odd number, and on 2 from the next hour on. */
  async function hourly(): Promise<SteeredService> {
    const service = await SteeredService.start(true);
    service.now = start;
    const event = (serviceId: number, hour: number) => {
      const startTime = start + hour * 3600;
      const rest = { description: '', highDefinition: false, extra: 0, genres: [] };
      return { serviceId, startTime, endTime: startTime + 3600, title: `hour ${hour}`, ...rest };
    };
    service.tell = (method, payload) => {
      const hour = Math.floor((service.now - start) / 3600);
      if (method === 'ITVGuide::queryNowNextEventInfo')
        return payload.id % 2 === 1 || hour > 0 ? [event(payload.id, hour), event(payload.id, hour + 1)] : [];
      return method === 'ITVGuide::queryEventInfo' ? [event(2, 1), event(2, 2)] : 1;
    };
    return service;
  }

  const questions = (service: SteeredService) =>
    service.messages.filter((methods) => methods[0] === 'ITVGuide::queryNowNextEventInfo').map(({ length }) => length);

  test('moves now and next when something ends or begins, in one message for all', async () => {
    const service = await hourly();
    const cards = [1, 2, 3, 1].map((id, i) => <NowNext key={i} id={id} />);
    const tv = await connected(service.url);
    await vi.waitFor(() => expect(tv.clock.speed).toBe(0), { timeout: 50_000 });
    const { page } = render(tv, cards);
    const hour = (hour: number) => `ready hour ${hour} then hour ${hour + 1};`;
    await shows(page, `${hour(0)}ready - then -;${hour(0)}${hour(0)}`);
    expect(questions(service)).toEqual([3]);
    service.set(start + 3599, 0);
    service.set(start + 3600, 0);
    await shows(page, hour(1).repeat(4));
    expect(questions(service)).toEqual([3, 3]);
    service.set(start, 0); // back
    await shows(page, `${hour(0)}ready - then -;${hour(0)}${hour(0)}`);
    service.set(start + 3600 * 3, 3600); // three hours on, and no more than a second to the next
    await shows(page, hour(3).repeat(4));
    service.now = start + 3600 * 4;
    await shows(page, hour(4).repeat(4));
  });

  test('moves now and next on a real service, when its clock is stepped over the junction', async () => {
    const host = await Host.start();
    const simulator = await connectSimulator(host.url);
    onTestFinished(() => simulator.close());
    await simulator.clockSet({ speed: 0 });
    const line = await Line.to(host);
    const { page } = render(await connected(line.url), <><NowNext id={1043} /><NowNext id={1043} /></>);
    await shows(page, /^(ready Gate and Stile then Weekend News;){2}$/);
    await simulator.clockStep({ toNextStart: { serviceId: 1043, before: 5 } });
    await simulator.clockStep({ seconds: 5 });
    await shows(page, /^(ready Weekend News then (?!Weekend)[^;]+;){2}$/);
    expect(line.count('ITVGuide::queryNowNextEventInfo')).toBe(2);
  });

  test('is shown by useClock as it passes, and costs nothing while it stands', async () => {
    const service = await hourly();
    let rendered: number[] = [];
    function Reading() {
      const { now, speed } = useClock(60);
      rendered.push(now);
      return <p>{`${now} at ${speed};`}</p>;
    }
    const tv = talk(service.url);
    const { page } = render(tv, <><Reading /><Reading /></>);
    const minute = (minute: number) => (start - (start % 60)) + minute * 60;
    await shows(page, `${minute(0)} at 0;`.repeat(2));
    rendered = [];
    const told = new Promise<void>((resolve) => tv.on('clock', () => resolve()));
    service.set(start + 1, 0); // another second of the same minute
    await told;
    service.set(start + 600, 0);
    await shows(page, `${minute(10)} at 0;`.repeat(2));
    expect(rendered).toEqual(Array(4).fill(minute(10))); // two components, each twice under StrictMode
    service.set(start, 600);
    await vi.waitFor(() => expect(new Set(rendered).size).toBeGreaterThan(3), { timeout: 50_000 }); // by itself
  });

  test('is shown by useClock at 3600 times the speed as at any other', async () => {
    const complaints = vi.spyOn(console, 'error').mockImplementation(() => {});
    onTestFinished(() => complaints.mockRestore());
    const service = await hourly();
    const rendered: number[] = [];
    function Reading() {
      rendered.push(useClock().now);
      return null;
    }
    const tv = talk(service.url);
    render(tv, <Reading />);
    await tv.clock.measure();
    service.set(start, 3600);
    const real = performance.now.bind(performance);
    let looks = 0;
    const time = vi.spyOn(performance, 'now').mockImplementation(() => real() + ++looks); // a millisecond from look to look
    onTestFinished(() => time.mockRestore());
    await vi.waitFor(() => expect(rendered.at(-1)! - start).toBeGreaterThan(3600), { timeout: 50_000 });
    expect(complaints).not.toHaveBeenCalled(); // React's, of what is another thing each time it looks
  });
});

test('hooks outside of a TvProvider say so', () => {
  const errors: unknown[] = [];
  class Boundary extends Component<{ children: ReactNode }> {
    override state = { failed: false };
    static getDerivedStateFromError = () => ({ failed: true });
    override componentDidCatch = (error: unknown) => void errors.push(error);
    override render = () => (this.state.failed ? null : this.props.children);
  }
  const Outside = () => <p>{useTv().state}</p>;
  const root = createRoot(document.createElement('div'), { onCaughtError: () => {} });
  onTestFinished(() => root.unmount());
  root.render(<Boundary><Outside /></Boundary>);
  return vi.waitFor(() => expect(errors).toMatchObject([{ message: expect.stringContaining('TvProvider') }]), { timeout: 50_000 });
});
