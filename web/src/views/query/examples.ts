import { dayStart, formatLocal, parseLocal, type Seconds, type Zone } from '../../parts/time';

export interface Example {
  name: string;
  expression: string;
}

const hour = 3600;

/** Eight in the evening of a time's day. */
const tonight = (time: Seconds, zone: Zone) => parseLocal(formatLocal(time, zone).replace(/T.*/, 'T20:00'), zone)!;

export interface Named {
  id: number;
  name: string;
}

/** Expressions to begin with; the view asks the first one by itself. */
export function makeExamples(now: Seconds, zone: Zone, services: readonly Named[]): [Example, ...Example[]] {
  const [one, two, three] = [0, 1, 2].map((place) => services[place] ?? { id: 1000 + place, name: `service ${1000 + place}` }) as [Named, Named, Named];
  const evening = tonight(now, zone);
  return [
    { name: `Next on ${one.name}`, expression: `ServiceId == ${one.id} && End > ${now}` },
    { name: 'On everywhere', expression: `Start <= ${now} && End > ${now}` },
    { name: 'Begins within the hour', expression: `Start >= ${now} && Start < ${now + hour}` },
    {
      name: 'Three services tonight',
      expression: `ServiceId in (${one.id}, ${two.id}, ${three.id}) && End > ${evening} && Start < ${evening + 3 * hour}`,
    },
    { name: 'One or the other', expression: `(ServiceId == ${one.id} || ServiceId == ${two.id}) && Start >= ${now}` },
    { name: 'The whole guide', expression: '' },
    { name: 'A mistake', expression: `ServiceId != ${one.id}` },
  ];
}

/** Times that people compare with. */
export function makeTimes(now: Seconds, zone: Zone): { name: string; time: Seconds }[] {
  return [
    { name: 'now', time: now },
    { name: 'in an hour', time: now + hour },
    { name: 'today', time: dayStart(now, zone) },
    { name: 'tonight', time: tonight(now, zone) },
    { name: 'tomorrow', time: dayStart(now, zone, 1) },
    { name: 'in a week', time: dayStart(now, zone, 7) },
  ];
}
