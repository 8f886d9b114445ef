// The service's time: how tv.clock follows it when it is set, stands, or goes at another speed.

import { Tv } from '@ostrel/tv';
import { expect, onTestFinished, test } from 'vitest';
import { clockAt, connected } from './host.js';
import { SteeredService } from './steered.js';

test('a clock that is set is followed, forward and back', async () => {
  const service = await SteeredService.start(false);
  const tv = await connected(service.url);
  for (const set of [service.now, service.now + 5000, service.now - 5000]) {
    service.now = set;
    await tv.clock.measure();
    // In the second that was told, or as much behind it as has passed since.
    expect(tv.clock.now()).toBeGreaterThan(set);
    expect(tv.clock.now()).toBeLessThan(set + 600);
    expect(tv.clock.msecUntil(set)).toBe(0);
    expect(tv.clock.msecUntil(set + 3600)).toBeGreaterThan(3000_000);
  }
  expect(tv.clock.speed).toBe(1);
});

test('a clock that stands is known to stand, and steps are heard', async () => {
  const service = await SteeredService.start(true);
  const standing = new Tv(service.url);
  onTestFinished(() => standing.close());
  await clockAt(standing, { now: service.now, speed: 0 });
  expect(standing.clock.now()).toBe(service.now);
  expect(standing.clock.msecUntil(service.now)).toBe(0);
  expect(standing.clock.msecUntil(service.now + 1)).toBe(Infinity);
  for (const step of [1, 3600, -7200]) {
    const told = clockAt(standing, { now: service.now + step });
    service.set(service.now + step, 0);
    await told;
    expect(standing.clock.now()).toBe(service.now);
  }
});

test('a clock that is set right behind the first answer about it is known to be set', async () => {
  const service = await SteeredService.start(true);
  service.speed = 1;
  service.onAnswer = (method) => {
    if (method === 'Simulator::clockGet') service.set(service.now, 0); // in one go with the answer
  };
  const tv = new Tv(service.url);
  onTestFinished(() => tv.close());
  await clockAt(tv, { speed: 0 });
});

test('a simulator that is lost while the service is not is found again', async () => {
  const service = await SteeredService.start(true);
  const tv = await connected(service.url);
  await clockAt(tv, { speed: 0 });
  service.forgetWatchers();
  const told = clockAt(tv, { speed: 2 });
  service.speed = 2; // of which nobody is told: who comes back asks
  await told;
});

test('a clock that runs fast does so here', async () => {
  const service = await SteeredService.start(true);
  const tv = await connected(service.url);
  await clockAt(tv, { speed: 0 });
  const told = clockAt(tv, { speed: 3600 });
  service.set(service.now, 3600);
  await told;
  expect(tv.clock.speed).toBe(3600);
  const [before, real] = [tv.clock.now(), performance.now()];
  while (tv.clock.now() < before + 36); // ten milliseconds of ours
  expect(performance.now() - real).toBeGreaterThan(9);
  const left = tv.clock.msecUntil(tv.clock.now() + 360_000); // a hundred seconds of ours
  expect(left).toBeGreaterThan(10_000);
  expect(left).toBeLessThan(200_000);
});

test('what is not asked for by anybody is not asked: one question a connection and simulator', async () => {
  const service = await SteeredService.start(true);
  const tv = await connected(service.url);
  await clockAt(tv, { speed: 0 });
  for (let i = 0; i < 1000; ++i) tv.clock.now();
  const questions = service.messages.flat();
  expect(questions.filter((method) => method.endsWith('clockGet'))).toHaveLength(1);
  expect(questions.filter((method) => method.endsWith('utcTimeGet')).length).toBeLessThan(4);
});

test('no call waits for a simulator that does not answer', async () => {
  const service = await SteeredService.start('mute');
  const tv = await connected(service.url);
  expect(await tv.service.utcTimeGet()).toBe(service.now);
});

test('a service without a simulator is asked for it once a connection, and nobody hears of that', async () => {
  const service = await SteeredService.start(false);
  const tv = new Tv(service.url);
  onTestFinished(() => tv.close());
  const heard: string[] = [];
  tv.on('state', ({ state }) => heard.push(state));
  await tv.service.utcTimeGet();
  await tv.clock.measure();
  expect(heard).toEqual(['open']);
  expect(tv.clock.speed).toBe(1);
});
