import { Component, type ReactNode } from 'react';
import { Empty } from '../parts/Empty';

/** Shows that a view, or the frame, could not be loaded or drawn, instead of an empty page: mostly the host is another one by now. */
export class Failed extends Component<{ children: ReactNode }, { error?: Error }> {
  override state: { error?: Error } = {};

  static getDerivedStateFromError(error: Error) {
    return { error };
  }

  override render() {
    if (this.state.error === undefined) return this.props.children;
    return (
      <Empty icon="warning" title="This cannot be shown">
        <p>{this.state.error.message}</p>
        <button data-kind="primary" onClick={() => location.reload()}>
          Load the page anew
        </button>
      </Empty>
    );
  }
}
