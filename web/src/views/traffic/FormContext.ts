import { createContext, useContext } from 'react';
import type { Problem } from './check';
import type { Schemas } from './description';
import type { Path } from './form';

/** What the fields of a form share. */
export interface Form {
  value: unknown;
  schemas: Schemas;
  problems: readonly Problem[];
  /** Gives what is at a path another value; undefined takes it away. */
  change: (path: Path, value: unknown) => void;
}

export const FormContext = createContext<Form | undefined>(undefined);

export const useForm = (): Form => useContext(FormContext)!;
