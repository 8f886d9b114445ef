import type { EventInfo, Programme } from '@ostrel/tv';

/** An event as the table shows it. */
export interface Row {
  serviceId: number;
  start: number;
  end: number;
  title: string;
  description: string;
  genre: number | undefined;
  isHd: boolean;
}

/** What was found; rows and documents are made when they come into sight, as there may be the whole guide. */
export interface Found {
  count: number;
  /** Documents of XML have no rows. */
  isXml: boolean;
  /** Undefined of a document that is not as the guide's are. */
  row: (place: number) => Row | undefined;
  /** As one line. */
  document: (place: number) => string;
}

function rowOf(document: string): Row | undefined {
  try {
    const { ServiceId, Start, End, Title, Description, Content, IsHd } = (JSON.parse(document) as { progSchedule: Programme }).progSchedule;
    return { serviceId: ServiceId, start: Start, end: End, title: Title, description: Description, genre: Content[0], isHd: IsHd };
  } catch {
    return undefined;
  }
}

/** @param answer  documents of `ITVGuide::query`, or events of `ITVGuide::queryEventInfo` */
export function find(answer: readonly (string | EventInfo)[]): Found {
  return {
    count: answer.length,
    isXml: typeof answer[0] === 'string' && answer[0].startsWith('<'),
    document: (place) => {
      const item = answer[place]!;
      return typeof item === 'string' ? item : JSON.stringify(item);
    },
    row: (place) => {
      const item = answer[place]!;
      if (typeof item === 'string') return rowOf(item);
      const { serviceId, startTime: start, endTime: end, title, description, genres, highDefinition: isHd } = item;
      return { serviceId, start, end, title, description, genre: genres[0], isHd };
    },
  };
}
